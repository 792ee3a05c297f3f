#pragma once

#include "commandline/Completion.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct editline;
struct history;

namespace CIM::cictl
{
/// Reads lines from a terminal: they can be edited, called back and completed, while GLib's main loop goes on. Bound to
/// its thread; one at a time.
class TCLineEditor
{
public:
    /// \param[in] complete  gives the candidates for what stands in front of the cursor, for its last word
    TCLineEditor(std::string prompt, std::function<TCandidates(const std::string& text)> complete);
    ~TCLineEditor();
    TCLineEditor(const TCLineEditor&) = delete;
    TCLineEditor& operator=(const TCLineEditor&) = delete;

    /// Makes a line one that can be called back.
    void Remember(const std::string& line);
    /// \return nothing at the end of the input; an empty line when it was interrupted
    std::optional<std::string> Read();
    /// Prints lines in front of what is being edited, which stays as it is.
    void PrintAbove(const std::string& lines);
    /// Gives up what is being edited. Usable in a callback of the main loop.
    void Interrupt() { m_isInterrupted = true; }

private:
    static TCLineEditor& s_Self(editline* editor);
    static char* s_Prompt(editline* editor);
    static int s_ReadCharacter(editline* editor, wchar_t* character);
    static unsigned char s_Complete(editline* editor, int key);
    void m_List(const TCandidates& candidates);

    std::string m_prompt;
    std::function<TCandidates(const std::string& text)> m_complete;
    struct SDelete
    {
        void operator()(editline* editor) const;
        void operator()(struct history* lines) const;
    };
    std::unique_ptr<struct history, SDelete> m_history;
    std::unique_ptr<editline, SDelete> m_editor;
    int m_terminal;
    bool m_isReading = false;
    bool m_isInterrupted = false;
};
} // namespace CIM::cictl
