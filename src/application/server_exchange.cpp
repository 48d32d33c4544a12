#include "application/server_exchange.h"

#include "projects/project_exchange.h"
#include "runtime/finally.h"
#include "runtime/modules.h"

namespace heron {
namespace {
const py::Name kSettings("settings"), kStatistics("statistics"), kCallbacks("callbacks"), kProject("project");
const py::Name kCollection("collection"), kCreateRequest("create_http_request");
const py::Name kAcceptResponse("accept_http_response");
}  // namespace

void ServerExchange::init(const py::Object& api_) {
  api = api_;
  last_projects = py::Object::none();
}

py::Object ServerExchange::projects_request() const {
  return api.attr(kProject).attr(kCollection).call(kCreateRequest);
}

// A front-end that polls the server waits for the last event, whatever became of the answer.
void ServerExchange::projects_response(const py::Object& response) {
  static const py::Name kClosed("projects_response_closed");
  const auto projects = py::made<ProjectsResponse>(response);
  const bool changed = !last_projects.equals(projects);
  last_projects = projects;
  py::finally(
      [&] {
        if (changed && projects->accepted) accept(projects);
      },
      [&] { fire(kClosed); });
}

// The project that is loaded may be one of those that the server has changed.
void ServerExchange::accept(const py::Object& projects) const {
  static const py::Name kGetCurrent("get_current"), kLoad("load"), kFilename("filename");
  static const py::Name kSynchronized("projects_synchronized");
  const py::Object facade = api.attr(kProject);
  facade.attr(kCollection).call(kAcceptResponse, projects);
  facade.call(kLoad, facade.call(kGetCurrent).attr(kFilename));
  fire(kSynchronized);
}

py::Object ServerExchange::statistics_request() const {
  static const py::Name kEnviron("environ"), kGet("get");
  const py::Object username = py::modules::os.attr(kEnviron).call(kGet, py::text("USERNAME"), py::text(""));
  return api.attr(kStatistics).call(kCreateRequest, username);
}

void ServerExchange::statistics_response(const py::Object& response) const {
  static const py::Name kServer("server"), kEraseSent("erase_sent"), kClear("clear");
  py::Dict named;
  named.set(kClear, api.attr(kSettings).attr(kServer).attr(kEraseSent));
  api.attr(kStatistics).attr(kAcceptResponse).apply(py::tuple({response}), named);
}

void ServerExchange::no_response() const {
  static const py::Name kNoResponse("http_no_response");
  fire(kNoResponse);
}

void ServerExchange::fire(const py::Name& event) const { api.attr(kCallbacks).call(event); }

void expose_server_exchange(const py::Scope& api) {
  py::Class<ServerExchange>(
      api, "_Http",
      "Api component to communicate with the shared server.\n\n"
      "It opens no connection: a front-end asks for a request, sends it as suits its host, and hands the response "
      "back, on the thread that owns the scene. A response is anything with `getheader(name, default)` and `read()`.")
      .no_copies("it belongs to an Api")
      .init<&ServerExchange::init>({"api"})
      .operation<&ServerExchange::projects_request>("projects_request",
                                                    "The request that brings all projects to the server.")
      .operation<&ServerExchange::projects_response>(
          "projects_response", {"response"},
          "Applies the server's answer to `projects_request`.\n\n"
          "The projects of an accepted answer replace the local ones, the current one is loaded again, and "
          "`projects_synchronized` is called, unless its body is that of the last answer, whatever became of that one. "
          "`projects_response_closed` is called last in any case. An answer that cannot be read is logged and changes "
          "nothing; one that can, but lists no projects, raises what comes of that.")
      .operation<&ServerExchange::statistics_request>("statistics_request",
                                                      "The request that brings the statistics to the server, under the "
                                                      "user's name in the environment of the process, \"USERNAME\".")
      .operation<&ServerExchange::statistics_response>(
          "statistics_response", {"response"},
          "Takes the server's answer to `statistics_request`: what it has got is erased if the settings say so.")
      .operation<&ServerExchange::no_response>("no_response",
                                               "Calls `http_no_response`: for a front-end that got no answer.")
      .readonly<&ServerExchange::api>("_api", "Api: What the component belongs to.")
      .readonly<&ServerExchange::last_projects>(
          "_last_projects", "_Project.Collection.HttpResponse | None: The last answer to `projects_request`, or None.")
      .done();
}

}  // namespace heron
