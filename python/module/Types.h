#pragma once

#include <pybind11/pybind11.h>

#include "protocol/SignalWords.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// The classes that Python sees: an IntEnum for each enumeration, a frozen dataclass for each value type. They are made when
// the module is imported, from what the tables name, and never afterwards: whoever converts finds them without a lock.

namespace CIM::python
{
namespace py = pybind11;

/// "getCiSlotStatus", "GetCiSlotStatus" -> "get_ci_slot_status".
std::string SnakeCase(std::string_view name);

/// What a type is called in annotations: Python gives lists and takes any sequence.
struct TSAnnotation
{
    std::string given;
    std::string taken;
};

/// The class of an enumeration, made when it is first asked for. Never released.
py::handle EnumerationClass(const protocol::SWords& words);
/// An enumerator; one without a name is a member that only has a number.
py::object Enumerator(const protocol::SWords& words, std::int64_t value);

struct TSField
{
    std::string name;
    TSAnnotation annotation;
    py::object initial;
};
/// The class of a value type. Never released.
py::handle MakeRecordClass(const char* name, const std::vector<TSField>& fields);

/// Puts all classes that were made into a module.
void AddClasses(py::module_& module);
/// What the stubs need: {"enumerations": [(name, [(member, value)])], "records": [(name, [(field, given, taken, initial)])]}.
py::dict DescribeClasses();
} // namespace CIM::python
