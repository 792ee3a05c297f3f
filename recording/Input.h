#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace CIM::recording
{
/// There is no such file, or nobody lets it be read; the text is a sentence.
class TCInputError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A file that is open for reading. Bound to its thread.
class TCInput
{
public:
    /// \param[in] path  "-" is standard input
    /// \throws TCInputError
    explicit TCInput(const std::string& path);
    ~TCInput();
    TCInput(const TCInput&) = delete;
    TCInput& operator=(const TCInput&) = delete;

    int Descriptor() const { return m_descriptor; }
    /// In bytes; 0 when nobody knows.
    std::uint64_t Size() const;

private:
    int m_descriptor;
};
} // namespace CIM::recording
