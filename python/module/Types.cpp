#include "Types.h"

#include <cctype>
#include <map>

namespace CIM::python
{
namespace
{
struct TSRecordClass
{
    std::string name;
    std::vector<TSField> fields;
    py::object type;
};

/// Kept until the process is gone: the interpreter may be gone before.
struct TSClasses
{
    std::map<std::string_view, py::object> enumerations;
    std::vector<const protocol::SWords*> words;
    std::vector<TSRecordClass> records;
    py::module_ helpers = py::module_::import("ciapi._types");
};
TSClasses& Classes()
{
    static auto& classes = *new TSClasses;
    return classes;
}
} // namespace

std::string SnakeCase(std::string_view name)
{
    const auto isUpper = [&](std::size_t i) { return std::isupper(static_cast<unsigned char>(name[i])) != 0; };
    std::string snake;
    for (std::size_t i = 0; i < name.size(); ++i)
    {
        const bool endsAbbreviation =
            i + 1 < name.size() && isUpper(i) && std::islower(static_cast<unsigned char>(name[i + 1]));
        if (i > 0 && isUpper(i) && (!isUpper(i - 1) || endsAbbreviation))
        {
            snake += '_';
        }
        snake += name[i] == '#' ? '_' : static_cast<char>(std::tolower(static_cast<unsigned char>(name[i])));
    }
    return snake;
}

py::handle EnumerationClass(const protocol::SWords& words)
{
    TSClasses& classes = Classes();
    py::object& type = classes.enumerations[words.type];
    if (!type)
    {
        py::list members;
        for (const protocol::SWord& word : words.words)
        {
            members.append(py::make_tuple(word.name, word.value));
        }
        type = classes.helpers.attr("make_enumeration")(words.type, members);
        classes.words.push_back(&words);
    }
    return type;
}

py::object Enumerator(const protocol::SWords& words, std::int64_t value) { return EnumerationClass(words)(value); }

py::handle MakeRecordClass(const char* name, const std::vector<TSField>& fields)
{
    py::list described;
    for (const TSField& field : fields)
    {
        described.append(py::make_tuple(field.name, field.annotation.given, field.initial));
    }
    TSClasses& classes = Classes();
    classes.records.push_back({name, fields, classes.helpers.attr("make_record")(name, described)});
    return classes.records.back().type;
}

void AddClasses(py::module_& module)
{
    for (const auto& [name, type] : Classes().enumerations)
    {
        module.attr(std::string(name).c_str()) = type;
    }
    for (const TSRecordClass& record : Classes().records)
    {
        module.attr(record.name.c_str()) = record.type;
    }
}

py::dict DescribeClasses()
{
    py::list enumerations;
    for (const protocol::SWords* const words : Classes().words)
    {
        py::list members;
        for (const protocol::SWord& word : words->words)
        {
            members.append(py::make_tuple(word.name, word.value));
        }
        enumerations.append(py::make_tuple(words->type, members));
    }
    py::list records;
    for (const TSRecordClass& record : Classes().records)
    {
        py::list fields;
        for (const TSField& field : record.fields)
        {
            fields.append(py::make_tuple(field.name, field.annotation.given, field.annotation.taken));
        }
        records.append(py::make_tuple(record.name, fields));
    }
    return py::dict(py::arg("enumerations") = enumerations, py::arg("records") = records);
}
} // namespace CIM::python
