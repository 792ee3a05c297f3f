#include "Schema.h"

#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include <algorithm>

namespace CIM::sim
{
extern const char* const SCENARIO_SCHEMA; // made of scenario.schema.json by the build

namespace
{
const nlohmann::json& SchemaDocument()
{
    static const nlohmann::json document = nlohmann::json::parse(SCENARIO_SCHEMA);
    return document;
}

const nlohmann::json& Resolved(const nlohmann::json& schema)
{
    const auto reference = schema.find("$ref");
    return reference == schema.end()
               ? schema
               : SchemaDocument().at(nlohmann::json::json_pointer(reference->get<std::string>().substr(1)));
}

/// The part of the schema that is about a member or an element; null when the schema says nothing about it.
const nlohmann::json* Inner(const nlohmann::json& schema, const std::string& step)
{
    if (const auto items = schema.find("items"); items != schema.end())
    {
        return &Resolved(*items);
    }
    const auto properties = schema.find("properties");
    if (properties != schema.end() && properties->contains(step))
    {
        return &Resolved(properties->at(step));
    }
    const auto others = schema.find("additionalProperties");
    return others != schema.end() && others->is_object() ? &*others : nullptr;
}

/// What should stand at a place that broke the schema.
std::string Expected(const nlohmann::json& schema, const nlohmann::json& value)
{
    std::string text = "expected " + schema.value("description", "something else");
    if (!value.is_object() || !schema.contains("properties"))
    {
        return text;
    }
    for (const auto& needed : schema.value("required", nlohmann::json::array()))
    {
        if (!value.contains(needed.get<std::string>()))
        {
            return text + "; \"" + needed.get<std::string>() + "\" is missing";
        }
    }
    std::string known;
    std::string unknown;
    for (const auto& item : schema["properties"].items())
    {
        known += (known.empty() ? "" : ", ") + item.key();
    }
    for (const auto& item : value.items())
    {
        if (unknown.empty() && !schema["properties"].contains(item.key()))
        {
            unknown = item.key();
        }
    }
    return unknown.empty() ? text : text + "; nobody knows \"" + unknown + "\", there are " + known;
}

/// "<root>", "[timeline]", "[3]" as a JSON pointer, and what the schema expects there.
TSProblem ToProblem(const std::vector<std::string>& context, const nlohmann::json& root)
{
    TSProblem problem;
    const nlohmann::json* schema = &SchemaDocument();
    const nlohmann::json* value = &root;
    for (std::size_t i = 1; i < context.size() && schema != nullptr; ++i)
    {
        const std::string step = context[i].substr(1, context[i].size() - 2);
        problem.path += "/" + EscapedKey(step);
        value = value->is_array() ? &value->at(std::stoul(step)) : &value->at(step);
        schema = Inner(*schema, step);
    }
    problem.text = schema != nullptr ? Expected(*schema, *value) : "expected something else";
    return problem;
}
} // namespace

std::vector<TSProblem> CheckSchema(const TCJsonFile& file)
{
    valijson::Schema schema;
    valijson::SchemaParser parser;
    const valijson::adapters::NlohmannJsonAdapter document(SchemaDocument());
    parser.populateSchema(document, schema);

    valijson::Validator validator;
    valijson::ValidationResults results;
    const valijson::adapters::NlohmannJsonAdapter target(file.Root());
    std::vector<TSProblem> problems;
    if (validator.validate(schema, target, &results))
    {
        return problems;
    }
    for (const auto& error : results)
    {
        TSProblem problem = ToProblem(error.context, file.Root());
        // A value is also reported by all that hold it.
        const bool isKnown = std::any_of(problems.begin(), problems.end(),
                                         [&](const TSProblem& other)
                                         { return other.path.compare(0, problem.path.size(), problem.path) == 0; });
        if (!isKnown)
        {
            problems.push_back(std::move(problem));
        }
    }
    std::stable_sort(problems.begin(), problems.end(),
                     [&](const TSProblem& a, const TSProblem& b) { return file.LineOf(a.path) < file.LineOf(b.path); });
    return problems;
}
} // namespace CIM::sim
