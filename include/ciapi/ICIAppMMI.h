#pragma once

#include <ciapi/CIEnumerations.h>
#include <ciapi/Export.h>

#include <tvplatform/Types.h>

#include <vector>

namespace CIM
{
/// CI Plus application MMI, as the set's application engine (MHEG, HbbTV, MHP) sees it: it reports the state of its
/// application, exchanges abort and file requests with the CAM, and fetches the data that a signal announced.
///
/// What holds for every operation:
/// - It is one call to the CI daemon. It blocks the calling thread, and only that, until the daemon answers or the bus
///   gives up (25 seconds unless the bus is configured otherwise).
/// - It is thread-safe. Called from inside a signal callback it delays the signals behind it.
/// - The result is what the daemon answered, non-zero meaning success, or -1 when its answer held no result. On a set
///   without CI, without daemon or without a timely answer it is 0.
/// - Outputs are filled in place and not cleared first; whenever the daemon did not answer they keep their values.
/// - Arguments are not checked. The caller keeps everything it passes. Nothing is thrown.
///
/// Obtained from TCCIService::CIAppMMIInstance() and owned by it. The order of the declarations is binary interface:
/// new operations go to the end.
class CIAPI_EXPORT ICIAppMMI
{
public:
    virtual ~ICIAppMMI() = default;

    /// Reports the state of the application engine.
    /// \param[in] handle       the pipeline whose service the application belongs to
    /// \param[in] application  which engine
    /// \param[in] state        its state
    /// \param[in] value        64-bit value that goes with the state; its meaning is the daemon's
    virtual int SetApplicationState(TVSHandle const& handle, EAppMmiName application, EAppMmiState state,
                                    unsigned long long value) = 0;

    /// Asks the CAM to end the session.
    /// \param[in] id    16-bit identifier of the session
    /// \param[in] data  abort request code and its data, as the application domain defines them
    virtual int SendAppAbortRequest(unsigned short id, std::vector<unsigned char> const& data) = 0;

    /// Acknowledges the CAM's wish to end the session.
    /// \param[in] id    16-bit identifier of the session
    /// \param[in] data  abort acknowledgement code and its data
    virtual int SendAppAbortAck(unsigned short id, std::vector<unsigned char> const& data) = 0;

    /// Asks the CAM for a file or other data.
    /// \param[in] id     16-bit identifier of the session
    /// \param[in] data   the request's bytes
    /// \param[in] value  passed on; its meaning is the daemon's
    virtual int SendFileRequest(unsigned short id, std::vector<unsigned char> const& data, int value) = 0;

    /// Acknowledges the CAM's request to start an application.
    /// \param[in] id       16-bit identifier of the session
    /// \param[in] ackCode  the acknowledgement code of CI Plus
    virtual int SendRequestStartAck(unsigned short id, unsigned char ackCode) = 0;

    /// Fetches the data of an abort acknowledgement.
    /// \param[in]  dataId  which data, as the signal that announced it says
    /// \param[out] data    replaced by the daemon's answer
    virtual int GetAbortAckData(int dataId, std::vector<unsigned char>& data) = 0;

    /// Fetches the data of an abort request. See GetAbortAckData.
    virtual int GetAbortRequestData(int dataId, std::vector<unsigned char>& data) = 0;

    /// Fetches the data of a file acknowledgement. What the flags, the number and the two byte strings hold is the
    /// daemon's.
    /// \param[in]  dataId      which data, as the signal that announced it says
    /// \param[out] firstFlag   first flag of the answer
    /// \param[out] secondFlag  second flag of the answer
    /// \param[out] value       number of the answer
    /// \param[out] firstData   replaced by the first byte string of the answer
    /// \param[out] secondData  replaced by the second byte string of the answer
    virtual int GetFileAckData(int dataId, bool& firstFlag, bool& secondFlag, int& value,
                               std::vector<unsigned char>& firstData, std::vector<unsigned char>& secondData) = 0;

    /// Fetches the data of a request to start an application. What the two byte strings and the flag hold is the
    /// daemon's.
    /// \param[in]  id          16-bit identifier of the session
    /// \param[in]  dataId      which data, as the signal that announced it says
    /// \param[out] firstData   replaced by the first byte string of the answer
    /// \param[out] secondData  replaced by the second byte string of the answer
    /// \param[out] handle      the pipeline meant
    /// \param[out] flag        flag of the answer
    virtual int GetStartAppData(unsigned short id, int dataId, std::vector<unsigned char>& firstData,
                                std::vector<unsigned char>& secondData, TVSHandle& handle, bool& flag) = 0;
};
} // namespace CIM
