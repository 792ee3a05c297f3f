#include "ControlObject.h"

#include "Messages.h"
#include "Verbs.h"

#include <ciapi/CINames.h>

namespace CIM::sim
{
namespace
{
/// What a call's argument says, as JSON. Besides the parameter's own type any other is taken that can mean the same: a
/// number of another size, the number of an enumerator.
json::TJson ReadArgument(DBusMessageIter& argument, const TSParameter& parameter)
{
    DBusBasicValue value{};
    const int type = dbus_message_iter_get_arg_type(&argument);
    if (dbus_type_is_basic(type))
    {
        dbus_message_iter_get_basic(&argument, &value);
    }
    switch (type)
    {
    case DBUS_TYPE_STRING:
        return parameter.FromWord(value.str);
    case DBUS_TYPE_BOOLEAN:
        return value.bool_val != 0;
    case DBUS_TYPE_BYTE:
        return value.byt;
    case DBUS_TYPE_INT16:
        return value.i16;
    case DBUS_TYPE_UINT16:
        return value.u16;
    case DBUS_TYPE_INT32:
        return value.i32;
    case DBUS_TYPE_UINT32:
        return value.u32;
    case DBUS_TYPE_INT64:
        return value.i64;
    case DBUS_TYPE_UINT64:
        return value.u64;
    case DBUS_TYPE_ARRAY:
        if (parameter.type->kind == json::EKind::BYTES &&
            dbus_message_iter_get_element_type(&argument) == DBUS_TYPE_BYTE)
        {
            DBusMessageIter bytes;
            dbus_message_iter_recurse(&argument, &bytes);
            const unsigned char* first = nullptr;
            int count = 0;
            dbus_message_iter_get_fixed_array(&bytes, &first, &count);
            return json::BytesToHex({first, static_cast<std::size_t>(count)});
        }
        [[fallthrough]];
    default:
        throw json::TCJsonError(json::TCJsonPath(parameter.name), std::string("\"") + parameter.Signature() +
                                                                      "\" is needed, not an argument of the type \"" +
                                                                      static_cast<char>(type) + '"');
    }
}

/// The arguments by name. An empty text, or no bytes, is as good as left out.
json::TJson ReadArguments(DBusMessage* call, const TSVerb& verb)
{
    json::TJson arguments = json::TJson::object();
    DBusMessageIter argument;
    dbus_message_iter_init(call, &argument);
    for (const TSParameter& parameter : verb.parameters)
    {
        if (dbus_message_iter_get_arg_type(&argument) == DBUS_TYPE_INVALID)
        {
            break;
        }
        json::TJson value = ReadArgument(argument, parameter);
        if (value != "")
        {
            arguments[parameter.name] = std::move(value);
        }
        dbus_message_iter_next(&argument);
    }
    if (dbus_message_iter_get_arg_type(&argument) != DBUS_TYPE_INVALID)
    {
        throw json::TCJsonError(json::TCJsonPath(), "there are more arguments than parameters");
    }
    return arguments;
}

TCMessagePtr AnswerVerb(TCSimulatedDaemon& daemon, DBusMessage* call, const TSVerb& verb)
{
    std::string result;
    try
    {
        result = verb.run(daemon, ReadArguments(call, verb), json::TCJsonPath());
    }
    catch (const json::TCJsonError& error)
    {
        return MakeError(call, DBUS_ERROR_INVALID_ARGS, verb.Usage() + ": " + error.what());
    }
    catch (const std::exception& error)
    {
        return MakeError(call, CONTROL_REFUSED, error.what());
    }
    const char* const text = result.c_str();
    return verb.hasResult ? MakeReplyWith(call, DBUS_TYPE_STRING, &text) : MakeReplyWith(call);
}

std::string ControlXml()
{
    std::string xml = std::string("  <interface name=\"") + CONTROL_INTERFACE + "\">\n";
    for (const TSVerb& verb : Verbs())
    {
        xml += std::string("    <method name=\"") + verb.name + "\">\n";
        for (const TSParameter& parameter : verb.parameters)
        {
            xml += std::string("      <arg name=\"") + parameter.name + "\" type=\"" + parameter.Signature() +
                   "\" direction=\"in\"/>\n";
        }
        xml += verb.hasResult ? "      <arg name=\"result\" type=\"s\" direction=\"out\"/>\n" : "";
        xml += "    </method>\n";
    }
    return xml + "  </interface>\n";
}

std::string SignalXml()
{
    std::string xml = "  <interface name=\"" + CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME + "\">\n    <signal name=\"" +
                      SIGNAL_MEMBER + "\">\n";
    for (const TSArgument& argument : ArgumentsOf(protocol::SSignalEnvelope()))
    {
        xml += std::string("      <arg name=\"") + argument.name + "\" type=\"" + argument.type + "\"/>\n";
    }
    return xml + "    </signal>\n  </interface>\n";
}

/// The children of a path among the objects that there are.
std::string ChildrenXml(const std::string& path)
{
    std::string xml;
    const std::string prefix = path == "/" ? path : path + '/';
    for (const std::string& object :
         {std::string(protocol::CALL_OBJECT_PATH), CI_SIGNAL_SUBSCRIBER_OBJECT_NAME, std::string(CONTROL_OBJECT)})
    {
        if (object.rfind(prefix, 0) == 0)
        {
            const std::string child = object.substr(prefix.size(), object.find('/', prefix.size()) - prefix.size());
            const std::string node = "  <node name=\"" + child + "\"/>\n";
            xml += xml.find(node) == std::string::npos ? node : "";
        }
    }
    return xml;
}
} // namespace

std::string Introspect(const std::string& path)
{
    std::string xml = DBUS_INTROSPECT_1_0_XML_DOCTYPE_DECL_NODE
        "<node>\n"
        "  <interface name=\"" DBUS_INTERFACE_INTROSPECTABLE "\">\n"
        "    <method name=\"Introspect\">\n      <arg name=\"data\" type=\"s\" direction=\"out\"/>\n"
        "    </method>\n  </interface>\n";
    xml += path == CONTROL_OBJECT ? ControlXml() : "";
    xml += path == CI_SIGNAL_SUBSCRIBER_OBJECT_NAME ? SignalXml() : "";
    return xml + ChildrenXml(path) + "</node>\n";
}

bool IsControlCall(DBusMessage* call)
{
    return dbus_message_has_interface(call, DBUS_INTERFACE_INTROSPECTABLE) ||
           dbus_message_has_path(call, CONTROL_OBJECT);
}

TCMessagePtr AnswerControl(TCSimulatedDaemon& daemon, DBusMessage* call)
{
    if (dbus_message_is_method_call(call, DBUS_INTERFACE_INTROSPECTABLE, "Introspect"))
    {
        const std::string xml = Introspect(dbus_message_get_path(call));
        const char* const text = xml.c_str();
        return MakeReplyWith(call, DBUS_TYPE_STRING, &text);
    }
    const char* const interface = dbus_message_get_interface(call);
    const TSVerb* const verb = FindVerb(dbus_message_get_member(call));
    if (verb == nullptr || (interface != nullptr && std::string(interface) != CONTROL_INTERFACE))
    {
        return MakeError(call, DBUS_ERROR_UNKNOWN_METHOD,
                         std::string("there is no method ") + (interface != nullptr ? interface : "") + '.' +
                             dbus_message_get_member(call) + ": " + NoSuchVerb(dbus_message_get_member(call)));
    }
    return AnswerVerb(daemon, call, *verb);
}
} // namespace CIM::sim
