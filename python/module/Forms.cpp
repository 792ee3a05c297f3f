#include "Forms.h"

#include "json/Secret.h"

namespace CIM::python
{
namespace
{
std::string TypeName(py::handle given) { return Py_TYPE(given.ptr())->tp_name; }

/// A number: whatever counts as one for Python itself, but no float.
py::int_ IntegerFrom(py::handle given)
{
    PyObject* const number = PyNumber_Index(given.ptr());
    if (number == nullptr)
    {
        PyErr_Clear();
        RefuseType(given, "an int");
    }
    return py::reinterpret_steal<py::int_>(number);
}

[[noreturn]] void RefuseRange(const std::string& least, const std::string& greatest)
{
    PyErr_SetString(PyExc_OverflowError, ("a number from " + least + " to " + greatest + " is needed").c_str());
    throw py::error_already_set();
}

/// Text as bytes of a codec that loses nothing: what is no character stays what it was.
std::string Encoded(py::handle given, const char* codec, const char* errors)
{
    if (PyUnicode_Check(given.ptr()) == 0)
    {
        RefuseType(given, "a str");
    }
    const auto bytes = py::reinterpret_steal<py::bytes>(PyUnicode_AsEncodedString(given.ptr(), codec, errors));
    if (!bytes)
    {
        PyErr_Clear();
        throw py::value_error("the text has characters that cannot be sent");
    }
    return bytes;
}

TSAnnotation Plain(const char* name) { return {name, name}; }
} // namespace

void RefuseType(py::handle given, const std::string& wanted)
{
    throw py::type_error(wanted + " is needed, not " + TypeName(given));
}

std::int64_t SignedFrom(py::handle given, std::int64_t least, std::int64_t greatest)
{
    int overflow = 0;
    const std::int64_t number = PyLong_AsLongLongAndOverflow(IntegerFrom(given).ptr(), &overflow);
    if (overflow != 0 || number < least || number > greatest)
    {
        RefuseRange(std::to_string(least), std::to_string(greatest));
    }
    return number;
}

std::uint64_t UnsignedFrom(py::handle given, std::uint64_t greatest)
{
    const std::uint64_t number = PyLong_AsUnsignedLongLong(IntegerFrom(given).ptr());
    const bool isOutside = PyErr_Occurred() != nullptr;
    PyErr_Clear();
    if (isOutside || number > greatest)
    {
        RefuseRange("0", std::to_string(greatest));
    }
    return number;
}

std::int64_t EnumeratorFrom(py::handle given, const protocol::SWords& words)
{
    const py::handle integers = py::module_::import("enum").attr("IntEnum");
    if (py::isinstance(given, integers) && !py::isinstance(given, EnumerationClass(words)))
    {
        RefuseType(given, std::string(words.type));
    }
    return SignedFrom(given, std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
}

py::iterator ElementsOf(py::handle given, const std::string& wanted)
{
    const bool isWhole = PyUnicode_Check(given.ptr()) != 0 || PyBytes_Check(given.ptr()) != 0;
    PyObject* const elements = isWhole ? nullptr : PyObject_GetIter(given.ptr());
    if (elements == nullptr)
    {
        PyErr_Clear();
        RefuseType(given, wanted);
    }
    return py::reinterpret_steal<py::iterator>(elements);
}

py::object TextFromUnits(const unsigned short* units, std::size_t count)
{
    int order = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? -1 : 1;
    PyObject* const text = PyUnicode_DecodeUTF16(
        reinterpret_cast<const char*>(units), static_cast<Py_ssize_t>(count * sizeof *units), "surrogatepass", &order);
    if (text == nullptr)
    {
        throw py::error_already_set();
    }
    return py::reinterpret_steal<py::object>(text);
}

std::vector<unsigned short> UnitsFrom(py::handle given)
{
    std::string bytes =
        Encoded(given, __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? "utf-16-le" : "utf-16-be", "surrogatepass");
    std::vector<unsigned short> units(bytes.size() / sizeof(unsigned short));
    std::copy_n(bytes.data(), units.size() * sizeof(unsigned short), reinterpret_cast<char*>(units.data()));
    json::Wipe(bytes); // it may be somebody's answer to a CAM
    return units;
}

TSAnnotation TPyForm<bool>::Annotation() { return Plain("bool"); }
py::object TPyForm<bool>::To(const bool& value) { return py::bool_(value); }
void TPyForm<bool>::From(py::handle given, bool& value) { value = SignedFrom(given, 0, 1) == 1; }

TSAnnotation TPyForm<std::string>::Annotation() { return Plain("str"); }
py::object TPyForm<std::string>::To(const std::string& value)
{
    PyObject* const text = PyUnicode_DecodeUTF8(value.data(), static_cast<Py_ssize_t>(value.size()), "surrogateescape");
    if (text == nullptr)
    {
        throw py::error_already_set();
    }
    return py::reinterpret_steal<py::object>(text);
}
void TPyForm<std::string>::From(py::handle given, std::string& value)
{
    value = Encoded(given, "utf-8", "surrogateescape");
}

namespace
{
/// A text into a string of UTF-16 code units; it may be secret.
template <class String>
void AssignUnits(py::handle given, String& value)
{
    std::vector<unsigned short> units = UnitsFrom(given);
    const json::TCWipeAtEnd wipe(units);
    value.assign(units.begin(), units.end());
}
} // namespace

TSAnnotation TPyForm<std::u16string>::Annotation() { return Plain("str"); }
py::object TPyForm<std::u16string>::To(const std::u16string& value)
{
    const std::vector<unsigned short> units(value.begin(), value.end());
    return TextFromUnits(units.data(), units.size());
}
void TPyForm<std::u16string>::From(py::handle given, std::u16string& value) { AssignUnits(given, value); }

TSAnnotation TPyForm<std::basic_string<unsigned short>>::Annotation() { return Plain("str"); }
py::object TPyForm<std::basic_string<unsigned short>>::To(const std::basic_string<unsigned short>& value)
{
    return TextFromUnits(value.data(), value.size());
}
void TPyForm<std::basic_string<unsigned short>>::From(py::handle given, std::basic_string<unsigned short>& value)
{
    AssignUnits(given, value);
}

TSAnnotation TPyForm<TCIText>::Annotation() { return Plain("str"); }
py::object TPyForm<TCIText>::To(const TCIText& value) { return TextFromUnits(value.text.data(), value.text.size()); }
void TPyForm<TCIText>::From(py::handle given, TCIText& value) { value.text = UnitsFrom(given); }

TSAnnotation TPyForm<std::vector<unsigned char>>::Annotation() { return {"bytes", "_Buffer"}; }
py::object TPyForm<std::vector<unsigned char>>::To(const std::vector<unsigned char>& value)
{
    return py::bytes(reinterpret_cast<const char*>(value.data()), value.size());
}
void TPyForm<std::vector<unsigned char>>::From(py::handle given, std::vector<unsigned char>& value)
{
    Py_buffer bytes{};
    if (PyObject_GetBuffer(given.ptr(), &bytes, PyBUF_SIMPLE) != 0)
    {
        PyErr_Clear();
        RefuseType(given, "bytes");
    }
    const auto* const first = static_cast<const unsigned char*>(bytes.buf);
    value.assign(first, first + bytes.len);
    PyBuffer_Release(&bytes);
}

TSAnnotation TPyForm<void*>::Annotation() { return Plain("None"); }
py::object TPyForm<void*>::To(void* const&) { return py::none(); }
void TPyForm<void*>::From(py::handle, void*& value) { value = nullptr; }
} // namespace CIM::python
