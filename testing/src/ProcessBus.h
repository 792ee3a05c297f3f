#pragma once

#include "privatebus/BusFolder.h"

#include <map>
#include <string>

namespace CIM::test
{
/// The private system bus of this process, and the folder with everything that belongs to it. A small process of its
/// own holds both and ends them when this process has ended, in whatever way. Thread-safe.
class TCProcessBus
{
public:
    /// Starts it the first time, and puts it into the environment. A forked process gets one of its own, if nothing in
    /// its parent has used libdbus.
    /// \throws std::runtime_error when it does not start, std::logic_error when the library has been used before
    static TCProcessBus& Instance();

    std::string MarkerPath() const { return m_folder.MarkerFile(); }
    /// A file of that name in the folder.
    std::string Path(const std::string& name) const { return m_folder.File(name); }
    /// Replaces the feature keys of the set. \param[in] keys  whole names with values
    void WriteFeatureKeys(const std::map<std::string, std::string>& keys) const;

private:
    TCProcessBus();

    privatebus::TCBusFolder m_folder;
};
} // namespace CIM::test
