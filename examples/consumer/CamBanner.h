#pragma once

#include <ciapi/ICIGeneral.h>
#include <ciapi/ICISignalSubscriber.h>

#include <map>
#include <string>

/// What a TV shows about its CI slots: a line for each, which follows what happens in the slots. Lives on the thread
/// that runs the default GLib main context, where signals arrive.
class TCCamBanner
{
public:
    /// \param[in] subscriber  its callback is OnSignal; both interfaces outlive the banner
    TCCamBanner(CIM::ICIGeneral& general, CIM::ICISignalSubscriber& subscriber);
    ~TCCamBanner();
    TCCamBanner(const TCCamBanner&) = delete;
    TCCamBanner& operator=(const TCCamBanner&) = delete;

    /// "Slot 0: Canal Plus", "Slot 1: no CAM"; one line, "CI is not available", when nobody answers.
    std::string Text() const;

    /// The process's callback for signals.
    static int OnSignal(CIM::ECISignalType type, EProfile profile, unsigned short handle, CIM::TSSignalData data,
                        void* banner);

private:
    void m_Refresh();

    CIM::ICIGeneral& m_general;
    CIM::ICISignalSubscriber& m_subscriber;
    std::map<unsigned char, std::string> m_lines;
};
