#include "KeyFileStore.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <memory>
#include <mutex>

#include <sys/stat.h>

namespace
{
using TKeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_free)>;

/// What tells a file from what it was before.
struct TSIdentity
{
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = -1;
    timespec written{};
    timespec changed{};

    bool operator==(const TSIdentity& other) const
    {
        const auto same = [](const timespec& one, const timespec& two)
        { return one.tv_sec == two.tv_sec && one.tv_nsec == two.tv_nsec; };
        return device == other.device && inode == other.inode && size == other.size && same(written, other.written) &&
               same(changed, other.changed);
    }
};

bool Identify(const std::string& place, TSIdentity& identity)
{
    struct stat found
    {
    };
    if (stat(place.c_str(), &found) != 0)
    {
        return false;
    }
    identity = {found.st_dev, found.st_ino, found.st_size, found.st_mtim, found.st_ctim};
    return true;
}

/// Whether any change from now on shows: one that follows another at once might carry the same time.
bool HasSettled(const TSIdentity& identity)
{
    constexpr time_t COARSEST_SECONDS = 2; // of the file systems in use
    return identity.changed.tv_sec < time(nullptr) - COARSEST_SECONDS;
}

TKeyFile Parse(const std::string& place, int& result)
{
    TKeyFile file(g_key_file_new(), &g_key_file_free);
    GError* error = nullptr;
    if (!g_key_file_load_from_file(file.get(), place.c_str(), G_KEY_FILE_NONE, &error))
    {
        const bool absent = g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT) ||
                            g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOTDIR);
        g_error_free(error);
        result = absent ? -ENOENT : -EIO;
        file.reset();
    }
    return file;
}

struct TSKept
{
    std::string place;
    TSIdentity identity;
    TKeyFile file{nullptr, &g_key_file_free};
};

constexpr off_t MOST_KEPT_BYTES = 65'536;

/// One for each place that is looked at; the oldest makes way.
struct TSStore
{
    std::mutex mutex;
    std::array<TSKept, 4> kept;
    std::size_t next = 0;

    TSKept* Find(const std::string& place)
    {
        const auto found =
            std::find_if(kept.begin(), kept.end(), [&](const TSKept& each) { return each.place == place; });
        return found != kept.end() ? &*found : nullptr;
    }
};

TSStore& Store()
{
    static TSStore* const store = new TSStore; // stays: keys may be read until the process has ended
    return *store;
}
} // namespace

int LookUpInFile(const std::string& place, const std::function<int(GKeyFile* file)>& lookUp)
{
    TSIdentity identity;
    const bool isThere = Identify(place, identity);
    // Nobody waits here: whoever comes second, or holds what a thread of the parent held at the fork, reads for itself.
    std::unique_lock<std::mutex> lock(Store().mutex, std::try_to_lock);
    TSKept* kept = lock.owns_lock() ? Store().Find(place) : nullptr;
    if (isThere && kept != nullptr && kept->identity == identity)
    {
        return lookUp(kept->file.get());
    }
    int result = 0;
    TKeyFile file = Parse(place, result);
    if (file == nullptr)
    {
        return result;
    }
    result = lookUp(file.get());
    TSIdentity after;
    if (isThere && lock.owns_lock() && identity.size <= MOST_KEPT_BYTES && HasSettled(identity) &&
        Identify(place, after) && after == identity)
    {
        kept = kept != nullptr ? kept : &Store().kept[Store().next++ % Store().kept.size()];
        *kept = {place, identity, std::move(file)};
    }
    return result;
}
