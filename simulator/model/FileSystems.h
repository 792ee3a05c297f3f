#pragma once

#include "simulator/world/World.h"

#include <ciapi/ICIAuxiliaryFileSystem.h>

#include "json/Draft.h"

#include <deque>
#include <map>

namespace CIM::sim
{
/// The auxiliary file systems that CAMs offer. What the interface leaves to the daemon is decided so:
/// - A listed file system's 16-bit value is its identifier, its integer the slot.
/// - Acknowledgements queue up for each file system, at most 64; GetFileAcknowledge takes the oldest.
/// - An acknowledgement's first flag says whether the file was found, its second whether the request type is served;
///   its first byte string is the request, its second the answer.
class TCFileSystems final : public ICIAuxiliaryFileSystem
{
public:
    explicit TCFileSystems(TSWorld& world) : m_world(world) {}

    int GetAllAvailableFileSystems(std::vector<TCCiAuxiliaryFileSystemDTO>& fileSystems) override;
    int RegisterApplication(unsigned short fileSystemId, unsigned char& applicationId) override;
    int UnregisterApplication(unsigned char applicationId, unsigned short fileSystemId) override;
    int RequestFile(unsigned short fileSystemId, unsigned char applicationId, EFileRequestType requestType,
                    std::vector<unsigned char> const& request) override;
    int GetFileAcknowledge(unsigned short fileSystemId, TCCiFileAckDTO& acknowledgement) override;

    /// The CAM offers a file system of its definition.
    /// \param[in] index  which one, counted from 0
    TSOutcome Offer(unsigned slot, std::size_t index);
    TSOutcome Drop(unsigned slot, std::size_t index);

    void OnCamReady(const TSSlot& slot);
    void OnCamGone(const TSSlot& slot);
    json::TCDraft State() const;

private:
    struct TSFileSystem
    {
        unsigned char slot = 0;
        std::size_t index = 0;
        std::set<unsigned char> applications;
        std::deque<TCCiFileAckDTO> acknowledgements;
        std::size_t lost = 0;
    };
    using TFileSystemMap = std::map<unsigned short, TSFileSystem>;

    const TSFileSystemDefinition& m_Definition(const TSFileSystem& fileSystem) const;
    TFileSystemMap::iterator m_Find(unsigned slot, std::size_t index);
    void m_Remove(TFileSystemMap::iterator fileSystem);

    TSWorld& m_world;
    TFileSystemMap m_fileSystems;
    unsigned short m_lastId = 0;
};
} // namespace CIM::sim
