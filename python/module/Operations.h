#pragma once

#include "Types.h"

#include "protocol/RowCode.h"

#include <ciapi/CICallOutcome.h>

#include <memory>
#include <span>
#include <string>

// The operations of all interfaces, as the tables have them.

namespace CIM::python
{
/// What the values of one type have in common.
struct TSPyForm
{
    TSAnnotation (*annotation)();
    py::object (*to)(const void* value);
    void (*from)(py::handle given, void* value);
    void (*wipe)(void* value); ///< overwrites what a value held; null for types that hold no secrets
};

struct TSRowForm
{
    const TSPyForm* result;
    std::span<const TSPyForm* const> parameters;
};

/// The forms of an interface's rows, in slot order. \param[in] interface  its place in protocol::TInterfaces
std::span<const TSRowForm> RowForms(std::size_t interface);

/// Everything that Python needs to know to make methods: a list of interfaces.
py::list DescribeInterfaces();

/// Calls an operation. Blocks without the interpreter's lock.
/// \param[in] inputs  one object a parameter; None for outputs, and for what is left out
/// \return (result, (output, ...), whether the result is a refusal, (outcome, error name, error text))
/// \throws py::type_error and the like, which name the parameter, when an input is wrong
py::tuple Invoke(std::size_t interface, std::size_t row, const py::tuple& inputs);

/// (outcome, error name, error text)
py::tuple OutcomeTuple(const TSCallOutcome& became);
} // namespace CIM::python
