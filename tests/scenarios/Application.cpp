#include "Application.h"

#include <glib.h>

#include <cstring>

using namespace CIM;

namespace
{
constexpr int LIMIT_MS = 20'000;
}

void Need(bool condition, const char* text, const char* file, int line)
{
    if (!condition)
    {
        throw std::runtime_error(std::string(file) + ":" + std::to_string(line) + ": " + text);
    }
}

TCApplication& TCApplication::Instance()
{
    static TCApplication* const instance = new TCApplication; // lives as long as signals may come
    return *instance;
}

int TCApplication::m_OnSignal(ECISignalType type, EProfile profile, unsigned short handle, TSSignalData data, void*)
{
    unsigned short id = 0;
    unsigned value = 0;
    std::memcpy(&id, data.bytes + 2, sizeof id);
    std::memcpy(&value, data.bytes + 4, sizeof value);
    Instance().m_seen.push_back({type, TVSHandle(profile, handle), data.bytes[0], data.bytes[1], id, value});
    return 0;
}

void TCApplication::Subscribe(const std::vector<ECISignalType>& types, unsigned short handle)
{
    for (const ECISignalType type : types)
    {
        NEED(subscriber.Subscribe(type, nullptr, PROFILE_MAIN, handle, 0) == 1);
    }
}

bool TCApplication::m_Await(int milliseconds)
{
    bool isOver = false;
    GSource* const timer = g_timeout_source_new(static_cast<guint>(milliseconds));
    g_source_set_callback(
        timer,
        [](gpointer flag) -> gboolean
        {
            *static_cast<bool*>(flag) = true;
            return G_SOURCE_REMOVE;
        },
        &isOver, nullptr);
    g_source_attach(timer, nullptr);
    while (m_seen.empty() && !isOver)
    {
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_destroy(timer);
    g_source_unref(timer);
    return !m_seen.empty();
}

TSSeen TCApplication::Next(ECISignalType type)
{
    if (!m_Await(LIMIT_MS))
    {
        throw std::runtime_error("no signal came, but " + std::string(EnumName(type)) + " was due");
    }
    const TSSeen seen = m_seen.front();
    m_seen.pop_front();
    if (seen.type != type)
    {
        throw std::runtime_error(std::string(EnumName(seen.type)) + " came, but " + std::string(EnumName(type)) +
                                 " was due");
    }
    return seen;
}

TSSeen TCApplication::Next(ECISignalType type, int code)
{
    const TSSeen seen = Next(type);
    if (seen.code != code)
    {
        throw std::runtime_error(std::string(EnumName(type)) + " came with code " + std::to_string(seen.code) +
                                 " instead of " + std::to_string(code));
    }
    return seen;
}

void TCApplication::SkipTo(ECISignalType type, int code)
{
    for (bool hasCome = false; !hasCome; m_seen.pop_front())
    {
        if (!m_Await(LIMIT_MS))
        {
            throw std::runtime_error("no signal came, but " + std::string(EnumName(type)) + " was due");
        }
        hasCome = m_seen.front().type == type && m_seen.front().code == code;
    }
}

void TCApplication::NeedSilence()
{
    bool needed = false;
    NEED(general.GetTuneBlockedByCi(TVSHandle(PROFILE_MAIN, 0), STATE_CHANGE_NONE, 0, needed) == 1);
    while (g_main_context_iteration(nullptr, FALSE))
    {
    }
    NEED(m_seen.empty());
}

TCIText MakeText(std::u16string_view text)
{
    TCIText made;
    made.text.assign(text.begin(), text.end());
    return made;
}

bool operator==(const TCIText& text, std::u16string_view units)
{
    return std::vector<unsigned short>(units.begin(), units.end()) == text.text;
}

std::vector<unsigned char> Bytes(std::string_view text) { return {text.begin(), text.end()}; }

TSPage ReadMenu(TCApplication& application, unsigned char slot)
{
    TSPage page;
    NEED(application.general.GetMmiMenu(slot, page.title, page.subtitle, page.bottom, page.lines) == 1);
    return page;
}

TSPage ReadList(TCApplication& application, unsigned char slot)
{
    TSPage page;
    NEED(application.general.GetMmiList(slot, page.title, page.subtitle, page.bottom, page.lines) == 1);
    return page;
}

void OpenPage(TCApplication& application, const std::vector<unsigned char>& choices, ECiMmiStatus last)
{
    NEED(application.general.EnterMenu(0, false) == 1);
    for (const unsigned char choice : choices)
    {
        application.Next(SIGNAL_CI_MMI_STATUS_CHANGED, CI_MMI_STATUS_MENU_RECEIVED);
        NEED(application.general.AnswerMmiMenu(0, choice, false, false) == 1);
    }
    application.Next(SIGNAL_CI_MMI_STATUS_CHANGED, last);
}

int main(int argc, char** argv)
{
    const std::string name = argc == 2 ? argv[1] : "";
    for (const auto* const stories : {&CamStories(), &ContentStories(), &DaemonStories()})
    {
        for (const TSStory& story : *stories)
        {
            if (name == "--list")
            {
                std::printf("%s\n", story.name);
            }
            if (story.name != name)
            {
                continue;
            }
            try
            {
                story.play(TCApplication::Instance());
                TCCIService::Destroy();
                return 0;
            }
            catch (const std::exception& error)
            {
                std::fprintf(stderr, "%s: %s\n", story.name, error.what());
                return 1;
            }
        }
    }
    return name == "--list" ? 0 : 2;
}
