#include "ControlObject.h"

#include "Messages.h"
#include "Verbs.h"

#include "json/Scalars.h"

#include <ciapi/CINames.h>

namespace CIM::sim
{
namespace
{
/// Reads a D-Bus argument of one of the types that verbs take.
json::TJson ReadArgument(DBusMessageIter& argument, char type)
{
    switch (type)
    {
    case DBUS_TYPE_STRING:
    {
        const char* text = nullptr;
        dbus_message_iter_get_basic(&argument, &text);
        return text;
    }
    case DBUS_TYPE_ARRAY:
    {
        DBusMessageIter bytes;
        dbus_message_iter_recurse(&argument, &bytes);
        const unsigned char* first = nullptr;
        int count = 0;
        dbus_message_iter_get_fixed_array(&bytes, &first, &count);
        return json::BytesToHex({first, static_cast<std::size_t>(count)});
    }
    default:
    {
        DBusBasicValue value{};
        dbus_message_iter_get_basic(&argument, &value);
        switch (type)
        {
        case DBUS_TYPE_BYTE:
            return value.byt;
        case DBUS_TYPE_UINT16:
            return value.u16;
        case DBUS_TYPE_INT32:
            return value.i32;
        case DBUS_TYPE_UINT32:
            return value.u32;
        default:
            return value.u64;
        }
    }
    }
}

std::string SignatureOf(const TSVerb& verb)
{
    std::string signature;
    for (const TSVerbArgument& argument : verb.arguments)
    {
        signature += argument.type;
    }
    return signature;
}

TCMessagePtr AnswerVerb(TCSimulatedDaemon& daemon, DBusMessage* call, const TSVerb& verb)
{
    const std::string expected = SignatureOf(verb);
    if (expected != dbus_message_get_signature(call))
    {
        return MakeError(call, DBUS_ERROR_INVALID_ARGS,
                         std::string(verb.name) + " takes \"" + expected + "\", not \"" +
                             dbus_message_get_signature(call) + '"');
    }
    json::TJson arguments = json::TJson::object();
    DBusMessageIter argument;
    dbus_message_iter_init(call, &argument);
    for (const TSVerbArgument& row : verb.arguments)
    {
        arguments[row.name] = ReadArgument(argument, row.type[0]);
        dbus_message_iter_next(&argument);
    }
    std::string result;
    try
    {
        result = verb.run(daemon, arguments);
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
        for (const TSVerbArgument& argument : verb.arguments)
        {
            xml += std::string("      <arg name=\"") + argument.name + "\" type=\"" + argument.type +
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
                             dbus_message_get_member(call));
    }
    return AnswerVerb(daemon, call, *verb);
}
} // namespace CIM::sim
