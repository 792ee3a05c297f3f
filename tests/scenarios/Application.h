#pragma once

#include <ciapi/CIService.h>

#include <deque>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// What every story's application needs: signals one by one, texts to compare, a way to say what was missed.

/// Throws with place and text unless a condition holds.
#define NEED(condition) ::Need((condition), #condition, __FILE__, __LINE__)
void Need(bool condition, const char* text, const char* file, int line);

/// A signal with its eight bytes taken apart.
struct TSSeen
{
    CIM::ECISignalType type;
    TVSHandle pipeline;
    unsigned slot;
    int code;
    unsigned id;
    unsigned value;
};

class TCApplication
{
public:
    static TCApplication& Instance();

    /// Subscribes for a pipeline; slots are the handle numbers of the main profile.
    void Subscribe(const std::vector<CIM::ECISignalType>& types, unsigned short handle = 0);
    /// The next signal, which has to be of this type. Waits for it, but not for ever.
    TSSeen Next(CIM::ECISignalType type);
    /// ... and have this code.
    TSSeen Next(CIM::ECISignalType type, int code);
    /// Lets signals go until this one comes.
    void SkipTo(CIM::ECISignalType type, int code);
    /// Signals that have come are all taken; asks the daemon something first, so that nothing is on its way.
    void NeedSilence();

    CIM::ICIGeneral& general = *CIM::TCCIService::CIGeneralInstance();
    CIM::ICISignalSubscriber& subscriber = *CIM::TCCIService::CISignalSubscriberInstance(m_OnSignal);

private:
    TCApplication() = default;
    static int m_OnSignal(CIM::ECISignalType type, EProfile profile, unsigned short handle, CIM::TSSignalData data,
                          void*);
    bool m_Await(int milliseconds);

    std::deque<TSSeen> m_seen;
};

/// A story: what the application does and what it has to see.
struct TSStory
{
    const char* name;
    void (*play)(TCApplication& application);
};
const std::vector<TSStory>& CamStories();
const std::vector<TSStory>& ContentStories();
const std::vector<TSStory>& DaemonStories();

CIM::TCIText MakeText(std::u16string_view text);
bool operator==(const CIM::TCIText& text, std::u16string_view units);
std::vector<unsigned char> Bytes(std::string_view text);

/// An MMI page as the application reads it.
struct TSPage
{
    CIM::TCIText title;
    CIM::TCIText subtitle;
    CIM::TCIText bottom;
    std::vector<CIM::TCIText> lines;
};
TSPage ReadMenu(TCApplication& application, unsigned char slot = 0);
TSPage ReadList(TCApplication& application, unsigned char slot = 0);
/// Opens the menu, and chooses until the page that is wanted is there.
void OpenPage(TCApplication& application, const std::vector<unsigned char>& choices, CIM::ECiMmiStatus last);
