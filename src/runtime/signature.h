#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "runtime/convert.h"

namespace heron::py {

/// One parameter of an operation: its name and, where it may be left out, its default.
class Parameter {
 public:
  enum class Kind { kPlain, kRest, kNamed, kKeywords };

  Parameter(const char* name) : name_(name) {}  // NOLINT(google-explicit-constructor): {"path", "clear"} reads well
  template <class D>
  Parameter(const char* name, const D& otherwise) : Parameter(name, Kind::kPlain, to_python(otherwise)) {}

  static Parameter rest(const char* name) { return {name, Kind::kRest, {}}; }          ///< `*name`
  static Parameter keywords(const char* name) { return {name, Kind::kKeywords, {}}; }  ///< `**name`
  /// After `rest`: by name only.
  template <class D>
  static Parameter named(const char* name, const D& otherwise) {
    return {name, Kind::kNamed, to_python(otherwise)};
  }

  const char* name() const { return name_; }
  Kind kind() const { return kind_; }
  const Object& otherwise() const { return default_; }  ///< The default; nothing where there is none.

 private:
  Parameter(const char* name, Kind kind, Object otherwise) : name_(name), kind_(kind), default_(std::move(otherwise)) {}

  const char* name_;
  Kind kind_ = Kind::kPlain;
  Object default_;
};

using Parameters = std::initializer_list<Parameter>;

/// The parameters of one operation: binds the arguments of a call to them and writes them for `help`.
class Signature {
 public:
  Signature(std::string operation, Parameters parameters);

  /// The arguments of one call, one for each parameter in order; they live as long as the call's own.
  class Bound {
   public:
    explicit Bound(std::size_t count) : slots_(count, nullptr) {}
    PyObject* operator[](std::size_t index) const { return slots_[index]; }

   private:
    friend class Signature;
    // Few operations have more than this many parameters, and a call should not allocate.
    class Slots {
     public:
      Slots(std::size_t count, PyObject* value) {
        if (count > kInline) many_.resize(count, value);
        for (PyObject*& slot : few_) slot = value;
      }
      PyObject*& operator[](std::size_t i) { return many_.empty() ? few_[i] : many_[i]; }
      PyObject* operator[](std::size_t i) const { return many_.empty() ? few_[i] : many_[i]; }

     private:
      static constexpr std::size_t kInline = 8;
      PyObject* few_[kInline];
      std::vector<PyObject*> many_;
    };
    Slots slots_;
    Object rest_, keywords_;  // own what `*` and `**` collected
  };

  std::size_t size() const { return parameters_.size(); }
  const std::string& operation() const { return operation_; }
  const char* parameter(std::size_t index) const { return parameters_[index].name(); }

  /// Binds a call; TypeError, with the operation's name, for too many, unknown, repeated or missing arguments.
  Bound bind(PyObject* const* arguments, Py_ssize_t count, PyObject* names) const;
  /// The same for a call that comes as a tuple and a dict.
  Bound bind(PyObject* arguments, PyObject* named) const;

  /// "(a, b=1)", after `first` (such as "$self") where there is one.
  std::string text(const char* first) const;

 private:
  void refuse_surplus(std::size_t given) const;
  void place(Bound& bound, std::size_t position, PyObject* value, std::vector<Object>& rest) const;
  void place_named(Bound& bound, PyObject* name, PyObject* value) const;
  void complete(Bound& bound, const std::vector<Object>& rest) const;
  [[noreturn]] void refuse_missing(const Bound& bound) const;
  [[noreturn]] void refuse(const std::string& why) const;

  std::string operation_;
  std::vector<Parameter> parameters_;
  std::vector<Object> names_;   // interned, for comparing by identity first
  std::size_t required_ = 0;    // how many must be given
  std::size_t positional_ = 0;  // how many may be given by position
  bool takes_rest_ = false;
  std::size_t keywords_at_;  // position of `**`, or size()
  std::size_t rest_at_;      // position of `*`, or size()
};

}  // namespace heron::py
