#pragma once

#include "privatebus/BusFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// What a test needs around itself: everything is private to the test and gone when its object is, so that tests run
// side by side. Environment variables are not guarded: change them before threads start.

namespace CIM
{
/// An environment variable that has a value, or has none, as long as the object lives.
class TCEnvironmentVariable
{
public:
    TCEnvironmentVariable(std::string name, const std::optional<std::string>& value) : m_name(std::move(name))
    {
        if (const char* old = std::getenv(m_name.c_str()))
        {
            m_old = old;
        }
        m_Apply(value);
    }
    ~TCEnvironmentVariable() { m_Apply(m_old); }
    TCEnvironmentVariable(const TCEnvironmentVariable&) = delete;
    TCEnvironmentVariable& operator=(const TCEnvironmentVariable&) = delete;

private:
    void m_Apply(const std::optional<std::string>& value)
    {
        if (value)
        {
            setenv(m_name.c_str(), value->c_str(), 1);
        }
        else
        {
            unsetenv(m_name.c_str());
        }
    }

    std::string m_name;
    std::optional<std::string> m_old;
};

/// An empty folder of one's own, removed with everything in it.
class TCTempFolder
{
public:
    TCTempFolder()
    {
        std::string path = (std::filesystem::temp_directory_path() / "ciapi-test-XXXXXX").string();
        if (mkdtemp(path.data()) == nullptr)
        {
            throw std::runtime_error("no temporary folder: " + path);
        }
        m_path = path;
    }
    ~TCTempFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TCTempFolder(const TCTempFolder&) = delete;
    TCTempFolder& operator=(const TCTempFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::string File(const std::string& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

/// The lines of a file; none when it is not there.
inline std::vector<std::string> LinesOf(const std::string& path)
{
    std::vector<std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

/// The daemon's readiness marker at a path of the test's own; absent until Create is called.
class TCTempMarker
{
public:
    void Create() { std::ofstream(Path()).put('\n'); }
    void Remove() { std::filesystem::remove(Path()); }
    std::string Path() const { return m_folder.File("ready"); }

private:
    TCTempFolder m_folder;
    TCEnvironmentVariable m_variable{"CIAPI_DAEMON_READY_FILE", Path()};
};

/// The set's feature keys, as a file that the system-information service reads, e.g.
/// `TCFeatureKeys keys{{"com.kelvora/featureconf/product.num_of_ci", "1"}};`
class TCFeatureKeys
{
public:
    TCFeatureKeys(std::initializer_list<std::pair<const std::string, std::string>> keys = {}) : m_keys(keys)
    {
        m_Write();
    }
    void Set(const std::string& key, const std::string& value)
    {
        m_keys[key] = value;
        m_Write();
    }
    void Remove(const std::string& key)
    {
        m_keys.erase(key);
        m_Write();
    }
    std::string Path() const { return m_folder.File("system-info.conf"); }

private:
    void m_Write() { privatebus::WriteFeatureKeys(Path(), m_keys); }

    TCTempFolder m_folder;
    std::map<std::string, std::string> m_keys;
    TCEnvironmentVariable m_variable{"TVPLATFORM_SYSTEM_INFO", Path()};
};
} // namespace CIM
