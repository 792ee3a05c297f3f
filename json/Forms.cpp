#include "json/Forms.h"

#include "commandline/Nearest.h"

#include <algorithm>

namespace CIM::json
{
TSType NumberType(bool isSigned, std::size_t bytes)
{
    return {EKind::NUMBER, (isSigned ? "int" : "uint") + std::to_string(8 * bytes), {}};
}

TSType EnumType(const TSEnumeration& enumeration)
{
    return {EKind::ENUM, std::string(enumeration.type), {&enumeration}};
}

TSType ListType(TSType element)
{
    return {EKind::STRUCTURED, "list of " + element.text, std::move(element.enumerations)};
}

TSType MapType(const TSType& key, TSType value)
{
    TSType type{EKind::STRUCTURED, "map of " + key.text + " to " + value.text, key.enumerations};
    type.enumerations.insert(type.enumerations.end(), value.enumerations.begin(), value.enumerations.end());
    return type;
}

void AddMember(TSType& record, const char* name, const TSType& member)
{
    const bool isFirst = record.text.find('{') == std::string::npos;
    record.text.append(isFirst ? " {" : ", ").append(name).append(": ").append(member.text);
    record.enumerations.insert(record.enumerations.end(), member.enumerations.begin(), member.enumerations.end());
}

void RefuseOthers(const TJson& object, std::span<const char* const> known, const char* type, const TCJsonPath& path)
{
    for (const auto& [name, value] : MembersOf(object, path))
    {
        if (std::find(known.begin(), known.end(), std::string_view(name)) == known.end())
        {
            throw TCJsonError(TCJsonPath(path, name), std::string("there is no such member in ") + type + "; " +
                                                          ThereAre({known.begin(), known.end()}, name));
        }
    }
}

void RefuseTwice(const TCJsonPath& path, const char* where)
{
    throw TCJsonError(path, std::string("this ") + where + " already");
}

TSType TJsonForm<bool>::Type() { return {EKind::BOOL, "bool", {}}; }
TJson TJsonForm<bool>::To(const bool& value) { return value; }
void TJsonForm<bool>::From(const TJson& json, bool& value, const TCJsonPath& path) { value = BoolFromJson(json, path); }

TSType TJsonForm<std::string>::Type() { return {EKind::TEXT, "text", {}}; }
TJson TJsonForm<std::string>::To(const std::string& value) { return TextToJson(value); }
void TJsonForm<std::string>::From(const TJson& json, std::string& value, const TCJsonPath& path)
{
    value = TextFromJson(json, path);
}

TSType TJsonForm<std::u16string>::Type() { return {EKind::TEXT, "text", {}}; }
TJson TJsonForm<std::u16string>::To(const std::u16string& value)
{
    return WideToJson(std::vector<unsigned short>(value.begin(), value.end()));
}
void TJsonForm<std::u16string>::From(const TJson& json, std::u16string& value, const TCJsonPath& path)
{
    const std::vector<unsigned short> units = WideFromJson(json, path);
    value.assign(units.begin(), units.end());
}

using TWide = std::basic_string<unsigned short>;
TSType TJsonForm<TWide>::Type() { return {EKind::TEXT, "text", {}}; }
TJson TJsonForm<TWide>::To(const TWide& value) { return WideToJson({value.data(), value.size()}); }
void TJsonForm<TWide>::From(const TJson& json, TWide& value, const TCJsonPath& path)
{
    const std::vector<unsigned short> units = WideFromJson(json, path);
    value.assign(units.begin(), units.end());
}

TSType TJsonForm<std::vector<unsigned char>>::Type() { return {EKind::BYTES, "bytes", {}}; }
TJson TJsonForm<std::vector<unsigned char>>::To(const std::vector<unsigned char>& value) { return BytesToHex(value); }
void TJsonForm<std::vector<unsigned char>>::From(const TJson& json, std::vector<unsigned char>& value,
                                                 const TCJsonPath& path)
{
    value = BytesFromJson(json, path);
}

TSType TJsonForm<TJson>::Type() { return {EKind::STRUCTURED, "JSON", {}}; }
TJson TJsonForm<TJson>::To(const TJson& value) { return value; }
void TJsonForm<TJson>::From(const TJson& json, TJson& value, const TCJsonPath&) { value = json; }
} // namespace CIM::json
