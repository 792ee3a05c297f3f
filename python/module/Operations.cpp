#include "Operations.h"

#include "Signals.h"
#include "WithoutLock.h"

#include "calls/Instance.h"
#include "json/OperationForm.h"

#include <ciapi/CICallOutcome.h>
#include <ciapi/CIService.h>

namespace CIM::python
{
namespace
{
using protocol::EWord;

const char* WordText(EWord word)
{
    switch (word)
    {
    case EWord::IN:
    case EWord::IN_MEMBERS:
        return "in";
    case EWord::SECRET_IN:
        return "secret";
    case EWord::OUT:
    case EWord::OUT_MEMBERS:
        return "out";
    case EWord::IN_OUT:
        return "both";
    case EWord::ONE_WAY:
        return "one_way";
    case EWord::NOT_SENT:
        break;
    }
    return "not_sent";
}

py::tuple Described(const TSAnnotation& annotation) { return py::make_tuple(annotation.given, annotation.taken); }

/// The values of one call. What held a secret is overwritten with them.
class TCValues
{
public:
    TCValues(const protocol::SRowCode& code, const TSRowForm& form)
        : m_code(code), m_form(form), m_result(code.newResult())
    {
        for (const auto newValue : code.newValues)
        {
            m_values.push_back(newValue());
            m_addresses.push_back(m_values.back()->Address());
        }
    }
    ~TCValues()
    {
        for (std::size_t i = 0; i < m_addresses.size(); ++i)
        {
            if (m_code.words[i] == EWord::SECRET_IN && m_form.parameters[i]->wipe != nullptr)
            {
                m_form.parameters[i]->wipe(m_addresses[i]);
            }
        }
    }
    TCValues(const TCValues&) = delete;
    TCValues& operator=(const TCValues&) = delete;

    void Take(std::size_t i, py::handle given)
    {
        try
        {
            m_form.parameters[i]->from(given, m_addresses[i]);
        }
        catch (const py::builtin_exception& error)
        {
            error.set_error();
            m_AddPlace(i);
        }
        catch (py::error_already_set& error)
        {
            error.restore();
            m_AddPlace(i);
        }
    }
    void Call(void* object) { m_code.call(object, m_result->Address(), m_addresses.data()); }
    py::object Result() const { return m_form.result->to(m_result->Address()); }
    py::object Value(std::size_t i) const { return m_form.parameters[i]->to(m_addresses[i]); }

private:
    /// Puts the parameter's name in front of the current error.
    [[noreturn]] void m_AddPlace(std::size_t i) const
    {
        py::error_already_set error;
        const std::string text =
            SnakeCase(m_code.parameterNames[i]) + ": " + py::str(error.value()).cast<std::string>();
        PyErr_SetString(error.type().ptr(), text.c_str());
        throw py::error_already_set();
    }

    const protocol::SRowCode& m_code;
    const TSRowForm& m_form;
    std::unique_ptr<protocol::TIPushedValue> m_result;
    std::vector<std::unique_ptr<protocol::TIPushedValue>> m_values;
    std::vector<void*> m_addresses;
};

/// Whether a result says no: not of those that give handles.
bool IsRefusal(const json::TCOperationForm& operation, const py::object& result)
{
    if (py::isinstance<py::bool_>(result))
    {
        return operation.IsRefusal(result.cast<bool>());
    }
    return operation.IsRefusal(result.cast<std::int64_t>());
}
} // namespace

py::tuple OutcomeTuple(const TSCallOutcome& became)
{
    return py::make_tuple(static_cast<int>(became.outcome), became.errorName, became.errorText);
}

py::list DescribeInterfaces()
{
    py::list interfaces;
    const auto forms = json::Interfaces();
    for (std::size_t interface = 0; interface < forms.size(); ++interface)
    {
        const auto rows = RowForms(interface);
        py::list operations;
        std::size_t row = 0;
        for (const json::TCOperationForm& operation : forms[interface].Operations())
        {
            py::list parameters;
            for (std::size_t i = 0; i < operation.Parameters().size(); ++i)
            {
                const json::TSParameter& parameter = operation.Parameters()[i];
                parameters.append(py::make_tuple(SnakeCase(parameter.name), WordText(parameter.word),
                                                 Described(rows[row].parameters[i]->annotation())));
            }
            operations.append(py::make_tuple(SnakeCase(operation.Key()), operation.FullName(), operation.IsLocal(),
                                             Described(rows[row].result->annotation()), parameters));
            ++row;
        }
        interfaces.append(py::make_tuple(forms[interface].Name(), operations));
    }
    return interfaces;
}

py::tuple Invoke(std::size_t interface, std::size_t row, const py::tuple& inputs)
{
    const protocol::SRowCode& code = protocol::AllRowCodes()[interface][row];
    const TSRowForm& form = RowForms(interface)[row];
    TCValues values(code, form);
    for (std::size_t i = 0; i < code.words.size(); ++i)
    {
        if (!inputs[i].is_none())
        {
            values.Take(i, inputs[i]);
        }
    }
    bool isOperable = true;
    TSCallOutcome became;
    {
        const TCWithoutLock withoutLock;
        isOperable = code.isLocal || TCCIService::IsCIOperable();
        void* const object = isOperable ? InstanceOf(json::Interfaces()[interface]) : nullptr;
        if (object != nullptr)
        {
            values.Call(object);
            became = LastCallOutcome();
        }
    }
    if (!isOperable)
    {
        return py::make_tuple(py::none(), py::none(), false, OutcomeTuple(TSCallOutcome()));
    }
    if (code.isLocal)
    {
        became.outcome = CALL_OUTCOME_ANSWERED;
    }
    const py::object result = values.Result();
    py::list outputs;
    for (std::size_t i = 0; i < code.words.size(); ++i)
    {
        if (protocol::IsOutput(code.words[i]))
        {
            outputs.append(values.Value(i));
        }
    }
    return py::make_tuple(result, py::tuple(outputs),
                          IsRefusal(json::Interfaces()[interface].Operations()[row], result), OutcomeTuple(became));
}
} // namespace CIM::python
