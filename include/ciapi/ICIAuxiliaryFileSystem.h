#pragma once

#include <ciapi/CIAuxiliaryFileSystemDataType.h>
#include <ciapi/CIEnumerations.h>
#include <ciapi/Export.h>

#include <vector>

namespace CIM
{
/// The auxiliary file systems that CI Plus CAMs offer: an application lists them, registers with one, requests files
/// and collects the acknowledgements, and unregisters.
///
/// What holds for every operation:
/// - It is one call to the CI daemon. It blocks the calling thread, and only that, until the daemon answers or the bus
///   gives up (25 seconds unless the bus is configured otherwise).
/// - It is thread-safe. Called from inside a signal callback it delays the signals behind it.
/// - The result is what the daemon answered, non-zero meaning success, or -1 when its answer held no result. On a set
///   without CI, without daemon or without a timely answer it is 0; RequestFile is the exception.
/// - Outputs are filled in place and not cleared first; whenever the daemon did not answer they keep their values.
/// - Arguments are not checked; identifiers are the daemon's. The caller keeps everything it passes. Nothing is thrown.
///
/// Obtained from TCCIService::CIAuxiliaryFileSystemInstance() and owned by it. The order of the declarations is binary
/// interface: new operations go to the end.
class CIAPI_EXPORT ICIAuxiliaryFileSystem
{
public:
    virtual ~ICIAuxiliaryFileSystem() = default;

    /// Lists the file systems that the inserted CAMs offer.
    /// \param[out] fileSystems  replaced by the daemon's answer
    virtual int GetAllAvailableFileSystems(std::vector<TCCiAuxiliaryFileSystemDTO>& fileSystems) = 0;

    /// Registers the application with a file system.
    /// \param[in]  fileSystemId  16-bit identifier of the file system
    /// \param[out] applicationId  identifier that the daemon gives the application
    virtual int RegisterApplication(unsigned short fileSystemId, unsigned char& applicationId) = 0;

    /// Ends a registration. Mind the order, which is the reverse of RegisterApplication's.
    /// \param[in] applicationId  as RegisterApplication gave it
    /// \param[in] fileSystemId   16-bit identifier of the file system
    virtual int UnregisterApplication(unsigned char applicationId, unsigned short fileSystemId) = 0;

    /// Requests a file. The acknowledgement is announced later, as a signal.
    /// \param[in] fileSystemId   16-bit identifier of the file system
    /// \param[in] applicationId  as RegisterApplication gave it
    /// \param[in] requestType    what is requested
    /// \param[in] request        the request's bytes (e.g. the file's name); may be empty
    /// \return what the daemon answered, -1 when its answer held no result. On a set with CI a request that does not
    ///         get through is repeated at once and without limit, which takes no stack: as long as the daemon stays
    ///         away this does not return, and in the child of a fork it never does. On a set without CI 0, at once.
    virtual int RequestFile(unsigned short fileSystemId, unsigned char applicationId, EFileRequestType requestType,
                            std::vector<unsigned char> const& request) = 0;

    /// Fetches the acknowledgement of a request.
    /// \param[in]  fileSystemId     16-bit identifier of the file system
    /// \param[out] acknowledgement  replaced by the daemon's answer
    virtual int GetFileAcknowledge(unsigned short fileSystemId, TCCiFileAckDTO& acknowledgement) = 0;
};
} // namespace CIM
