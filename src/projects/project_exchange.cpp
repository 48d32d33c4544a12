#include "projects/project_exchange.h"

#include "files/json_body.h"
#include "foundation/logger.h"
#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron {
namespace {

const py::Name kTarget("target"), kProjects("projects");

}  // namespace

void ProjectsRequest::init(const py::Object& of, const py::Object& documents) {
  target = of;
  projects = documents;
}

py::Object ProjectsRequest::text() const {
  py::Dict body;
  body.set(kTarget, target);
  body.set(kProjects, projects);
  return json_body::text(body);
}

py::Object ProjectsRequest::bytes() const { return json_body::bytes(text()); }

void ProjectsResponse::init(const py::Object& response) {
  accepted = false;
  projects = decode(response);
}

// Whether they were accepted makes no difference: what counts is what there is to apply.
bool ProjectsResponse::equals(const py::Object& other) const {
  return py::Ref<ProjectsResponse>::holds(other) && projects.equals(py::Ref<ProjectsResponse>(other)->projects);
}

py::Object ProjectsResponse::decode(const py::Object& response) {
  try {
    return content(response);
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::caught(error);
    return py::Dict();
  }
}

py::Object ProjectsResponse::content(const py::Object& response) {
  static const py::Name kGetHeader("getheader"), kRead("read"), kDecode("decode"), kLoads("loads");
  static const py::Name kHeaders("headers"), kGetItem("__getitem__");
  const py::Object headers = py::object_of(*this).attr(kHeaders),
                   wanted = headers.call(kGetItem, py::text(json_body::kTypeHeader));
  const py::Object type = response.call(kGetHeader, py::text(json_body::kTypeHeader), py::text(""));
  if (!to_str(type).equals(to_str(wanted))) return py::List();
  const py::Object text = response.call(kRead).call(kDecode, py::text(kEncoding));
  py::Object value = py::modules::json.call(kLoads, text);
  accepted = true;
  return value;
}

void expose_project_exchange(const py::Scope& collection) {
  py::Class<ProjectsRequest>(
      collection, "HttpRequest",
      "The projects of one target, on their way to the server.\n\n"
      "The text form is the body, JSON on one line, and `bytes` gives it encoded. TypeError for what JSON cannot hold, "
      "RecursionError for what is too deep, UnicodeEncodeError for lone surrogates. A loop gives the documents.")
      .copies()
      .init<&ProjectsRequest::init>({"target", "projects"})
      .attribute("headers", json_body::headers())
      .readonly<&ProjectsRequest::target>("target", "str: The host application whose projects they are.")
      .readonly<&ProjectsRequest::projects>("projects", "list[dict[str, Any]]: The documents of the projects.")
      .readonly<&ProjectsRequest::target>("_target", "str: The stored `target`.")
      .readonly<&ProjectsRequest::projects>("_projects", "list[dict[str, Any]]: The stored `projects`.")
      .iterate<&ProjectsRequest::iterate>()
      .operation<&ProjectsRequest::bytes>("__bytes__", "The body in UTF-8.")
      .text<&ProjectsRequest::text>()
      .done();

  py::Class<ProjectsResponse>(
      collection, "HttpResponse",
      "What the server said to the projects: all that it has of the target.\n\n"
      "Args:\n"
      "    response: Gives a header by `getheader(name, default)` and the body, bytes, by `read()`.\n\n"
      "One whose content type is not exactly that of `headers` is not accepted; one whose body cannot be decoded is "
      "not either, and is logged. Equal responses have equal `projects`, whether they were accepted or not. A loop "
      "gives the documents.")
      .copies()
      .init<&ProjectsResponse::init>({"response"})
      .attribute("headers", json_body::headers())
      .readonly<&ProjectsResponse::accepted>("accepted", "bool: Whether there was JSON in the response.")
      .readonly<&ProjectsResponse::projects>("projects", "Any: The decoded body; empty where it was not accepted.")
      .readonly<&ProjectsResponse::accepted>("_accepted", "bool: The stored `accepted`.")
      .readonly<&ProjectsResponse::projects>("_projects", "Any: The stored `projects`.")
      .iterate<&ProjectsResponse::iterate>()
      .equals<&ProjectsResponse::equals>()
      .operation<&ProjectsResponse::decode>("_decode", {"response"},
                                            "The content of a response; an empty dict after a failure, which is "
                                            "logged.")
      .operation<&ProjectsResponse::content>("_content", {"response"},
                                             "The decoded body, which counts as accepted then; an empty list for "
                                             "another content type. ValueError for a body that is no JSON in UTF-8.")
      .done();
}

}  // namespace heron
