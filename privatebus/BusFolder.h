#pragma once

#include <map>
#include <string>

// The temporary folder of a private bus, and the set that it pretends to be: its feature keys, its readiness marker.

namespace CIM::privatebus
{
/// The files of one private bus.
class TCBusFolder
{
public:
    /// Makes an empty folder for temporary files. It is removed by whoever owns it: a keeper.
    /// \param[in] prefix  how its name begins
    /// \throws std::runtime_error when it cannot be made
    static TCBusFolder Make(const std::string& prefix);

    explicit TCBusFolder(std::string path) : m_path(std::move(path)) {}

    const std::string& Path() const { return m_path; }
    /// A file of that name in the folder.
    std::string File(const std::string& name) const { return m_path + '/' + name; }
    std::string Socket() const { return File("socket"); }
    /// Of the bus, for whoever connects to it.
    std::string Address() const;
    std::string FeatureKeyFile() const { return File("system-info.conf"); }
    std::string MarkerFile() const { return File("ready"); }

    /// Lets this process and those that it starts use the bus as the system bus, with the feature keys and the
    /// readiness marker of the folder. Not while other threads read the environment.
    void PutIntoEnvironment() const;
    /// Removes the folder and the files in it; there are no folders in it. Allocates nothing.
    static void Remove(const char* path);

private:
    std::string m_path;
};

/// Replaces a file with the feature keys of a set, so that a reader sees the old or the new one.
/// \param[in] keys  whole names, such as "com.kelvora/featureconf/product.num_of_ci", and values
/// \throws std::invalid_argument for a name without '/' or a line break in a name or value, std::runtime_error when the
///         file cannot be written
void WriteFeatureKeys(const std::string& path, const std::map<std::string, std::string>& keys);

/// The feature keys of a set with CI.
std::map<std::string, std::string> DefaultFeatureKeys(int slots);
} // namespace CIM::privatebus
