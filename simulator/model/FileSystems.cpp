#include "FileSystems.h"

#include "simulator/definition/FileAnswer.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
constexpr std::size_t MAX_ACKNOWLEDGEMENTS = 64;
} // namespace

const TSFileSystemDefinition& TCFileSystems::m_Definition(const TSFileSystem& fileSystem) const
{
    return m_world.slots[fileSystem.slot].cam.fileSystems[fileSystem.index];
}

TCFileSystems::TFileSystemMap::iterator TCFileSystems::m_Find(unsigned slot, std::size_t index)
{
    return std::find_if(m_fileSystems.begin(), m_fileSystems.end(),
                        [&](const auto& entry) { return entry.second.slot == slot && entry.second.index == index; });
}

int TCFileSystems::GetAllAvailableFileSystems(std::vector<TCCiAuxiliaryFileSystemDTO>& fileSystems)
{
    fileSystems.clear();
    for (const auto& [id, fileSystem] : m_fileSystems)
    {
        fileSystems.emplace_back(id, fileSystem.slot, m_Definition(fileSystem).domain);
    }
    return 1;
}

int TCFileSystems::RegisterApplication(unsigned short fileSystemId, unsigned char& applicationId)
{
    const auto found = m_fileSystems.find(fileSystemId);
    if (found == m_fileSystems.end())
    {
        return 0;
    }
    for (unsigned char id = 1; id != 0; ++id)
    {
        if (found->second.applications.insert(id).second)
        {
            applicationId = id;
            return 1;
        }
    }
    return 0;
}

int TCFileSystems::UnregisterApplication(unsigned char applicationId, unsigned short fileSystemId)
{
    const auto found = m_fileSystems.find(fileSystemId);
    return found != m_fileSystems.end() && found->second.applications.erase(applicationId) > 0 ? 1 : 0;
}

int TCFileSystems::RequestFile(unsigned short fileSystemId, unsigned char applicationId, EFileRequestType requestType,
                               std::vector<unsigned char> const& request)
{
    const auto found = m_fileSystems.find(fileSystemId);
    if (found == m_fileSystems.end() || found->second.applications.count(applicationId) == 0)
    {
        return 0;
    }
    const unsigned char slot = found->second.slot;
    m_world.After(m_world.slots[slot], m_Definition(found->second).delayMs,
                  [this, fileSystemId, applicationId, requestType, request]
                  {
                      const auto then = m_fileSystems.find(fileSystemId);
                      if (then == m_fileSystems.end() || then->second.applications.count(applicationId) == 0)
                      {
                          return;
                      }
                      TSFileSystem& fileSystem = then->second;
                      if (fileSystem.acknowledgements.size() >= MAX_ACKNOWLEDGEMENTS)
                      {
                          ++fileSystem.lost;
                          return;
                      }
                      TSFileAnswer answer = AnswerFileRequest(m_Definition(fileSystem).files, requestType, request);
                      fileSystem.acknowledgements.emplace_back(answer.isFound, answer.isServed, requestType, request,
                                                               std::move(answer.bytes));
                      m_world.Raise(SlotSignal(SIGNAL_CI_FILE_RETRIEVAL_MESSAGE, fileSystem.slot,
                                               CI_FILE_RETRIEVAL_NEW_FILE, fileSystemId, applicationId));
                  });
    return 1;
}

int TCFileSystems::GetFileAcknowledge(unsigned short fileSystemId, TCCiFileAckDTO& acknowledgement)
{
    const auto found = m_fileSystems.find(fileSystemId);
    if (found == m_fileSystems.end() || found->second.acknowledgements.empty())
    {
        return 0;
    }
    acknowledgement = std::move(found->second.acknowledgements.front());
    found->second.acknowledgements.pop_front();
    return 1;
}

TSOutcome TCFileSystems::Offer(unsigned slot, std::size_t index)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found || index >= found->cam.fileSystems.size())
    {
        return TSOutcome::Refused("no ready CAM in slot " + std::to_string(slot) + " has a file system " +
                                  std::to_string(index));
    }
    if (m_Find(slot, index) != m_fileSystems.end())
    {
        return TSOutcome::Refused("file system " + std::to_string(index) + " is offered already");
    }
    do
    {
        ++m_lastId;
    } while (m_lastId == 0 || m_fileSystems.count(m_lastId) > 0);
    TSFileSystem fileSystem;
    fileSystem.slot = found->number;
    fileSystem.index = index;
    m_fileSystems[m_lastId] = fileSystem;
    m_world.Raise(SlotSignal(SIGNAL_CI_FILE_RETRIEVAL_MESSAGE, found->number, CI_FILE_RETRIEVAL_NEW_FILE_SYSTEM,
                             m_lastId, found->cam.fileSystems[index].domain));
    return TSOutcome::Done();
}

TSOutcome TCFileSystems::Drop(unsigned slot, std::size_t index)
{
    const auto found = m_Find(slot, index);
    if (found == m_fileSystems.end())
    {
        return TSOutcome::Refused("slot " + std::to_string(slot) + " offers no file system " + std::to_string(index));
    }
    m_Remove(found);
    return TSOutcome::Done();
}

void TCFileSystems::m_Remove(TFileSystemMap::iterator fileSystem)
{
    const unsigned short id = fileSystem->first;
    const unsigned char slot = fileSystem->second.slot;
    const ECIAuxiliaryFileSystemDomainIds domain = m_Definition(fileSystem->second).domain;
    m_fileSystems.erase(fileSystem);
    m_world.Raise(SlotSignal(SIGNAL_CI_FILE_RETRIEVAL_MESSAGE, slot, CI_FILE_RETRIEVAL_DEL_FILE_SYSTEM, id, domain));
}

void TCFileSystems::OnCamReady(const TSSlot& slot)
{
    for (std::size_t index = 0; index < slot.cam.fileSystems.size(); ++index)
    {
        if (slot.cam.fileSystems[index].isOffered)
        {
            Offer(slot.number, index);
        }
    }
}

void TCFileSystems::OnCamGone(const TSSlot& slot)
{
    for (auto entry = m_fileSystems.begin(); entry != m_fileSystems.end();)
    {
        const auto next = std::next(entry);
        if (entry->second.slot == slot.number)
        {
            m_Remove(entry);
        }
        entry = next;
    }
}

json::TCDraft TCFileSystems::State() const
{
    json::TCDraft result = json::List();
    for (const auto& [id, fileSystem] : m_fileSystems)
    {
        result.Append(json::Record({{"id", id},
                                    {"slot", fileSystem.slot},
                                    {"index", fileSystem.index},
                                    {"domain", EnumName(m_Definition(fileSystem).domain)},
                                    {"applications", fileSystem.applications},
                                    {"queued", fileSystem.acknowledgements.size()},
                                    {"lost", fileSystem.lost}}));
    }
    return result;
}
} // namespace CIM::sim
