#include "cictl/LineEditor.h"

#include "commandline/TerminalWidth.h"

#include <glib-unix.h>
#include <histedit.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace CIM::cictl
{
namespace
{
constexpr int MOST_REMEMBERED = 1'000;

bool GoesOn(const std::string& word)
{
    return !word.empty() && std::string_view("=/.:,@").find(word.back()) != word.npos;
}

std::string CommonStart(const TCandidates& candidates)
{
    std::string common = candidates.front().word;
    for (const TSCandidate& candidate : candidates)
    {
        const auto end = std::mismatch(common.begin(), common.end(), candidate.word.begin(), candidate.word.end());
        common.erase(end.first, common.end());
    }
    return common;
}

std::size_t Columns() { return TerminalColumns(STDOUT_FILENO); }

// The word that ends at the cursor.
std::string_view LastWord(std::string_view text)
{
    const std::size_t blank = text.find_last_of(" \t");
    return blank == text.npos ? text : text.substr(blank + 1);
}
} // namespace

void TCLineEditor::SDelete::operator()(editline* editor) const { el_end(editor); }
void TCLineEditor::SDelete::operator()(struct history* lines) const { history_end(lines); }

TCLineEditor::TCLineEditor(std::string prompt, std::function<TCandidates(const std::string& text)> complete)
    : m_prompt(std::move(prompt)), m_complete(std::move(complete)), m_history(history_init()),
      m_editor(el_init("cictl", stdin, stdout, stderr)),
      // Of its own, because what makes it not block would do so for whoever else reads the terminal: an interruption
      // takes back what was there to be read.
      m_terminal(open("/dev/tty", O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC))
{
    // Of the user's terminal; where nothing is known about it, most are UTF-8.
    if (std::setlocale(LC_CTYPE, "") == nullptr || MB_CUR_MAX == 1)
    {
        std::setlocale(LC_CTYPE, "C.UTF-8");
    }
    HistEvent event;
    ::history(m_history.get(), &event, H_SETSIZE, MOST_REMEMBERED);
    ::history(m_history.get(), &event, H_SETUNIQUE, 1);
    EditLine* const editor = m_editor.get();
    el_set(editor, EL_CLIENTDATA, this);
    el_set(editor, EL_PROMPT, &s_Prompt);
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_SIGNAL, 0);
    el_set(editor, EL_HIST, &::history, m_history.get());
    el_set(editor, EL_GETCFN, &s_ReadCharacter);
    el_set(editor, EL_ADDFN, "cictl-complete", "complete the word", &s_Complete);
    el_set(editor, EL_BIND, "^I", "cictl-complete", nullptr);
    el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_source(editor, nullptr); // ~/.editrc
}

TCLineEditor::~TCLineEditor()
{
    if (m_terminal >= 0)
    {
        close(m_terminal);
    }
}

TCLineEditor& TCLineEditor::s_Self(editline* editor)
{
    void* self = nullptr;
    el_get(editor, EL_CLIENTDATA, &self);
    return *static_cast<TCLineEditor*>(self);
}

char* TCLineEditor::s_Prompt(editline* editor) { return s_Self(editor).m_prompt.data(); }

void TCLineEditor::Remember(const std::string& line)
{
    HistEvent event;
    ::history(m_history.get(), &event, H_ENTER, line.c_str());
}

std::optional<std::string> TCLineEditor::Read()
{
    m_isInterrupted = false;
    m_isReading = true;
    int count = 0;
    // Before the prompt is there, or a Ctrl-D that is typed at once comes as something else.
    el_set(m_editor.get(), EL_PREP_TERM, 1);
    const char* const line = el_gets(m_editor.get(), &count);
    m_isReading = false;
    if (m_isInterrupted)
    {
        el_reset(m_editor.get());
        std::fputs("^C\n", stdout);
        return std::string();
    }
    if (line == nullptr || count <= 0)
    {
        std::fputs("\n", stdout);
        return std::nullopt;
    }
    std::string text(line, static_cast<std::size_t>(count));
    while (text.ends_with('\n') || text.ends_with('\r'))
    {
        text.pop_back();
    }
    return text;
}

int TCLineEditor::s_ReadCharacter(editline* editor, wchar_t* character)
{
    TCLineEditor& self = s_Self(editor);
    const int terminal = self.m_terminal >= 0 ? self.m_terminal : STDIN_FILENO;
    std::mbstate_t state{};
    while (!self.m_isInterrupted)
    {
        bool isReadable = false;
        const guint source = g_unix_fd_add(
            terminal, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR),
            [](gint, GIOCondition, gpointer flag) -> gboolean
            {
                *static_cast<bool*>(flag) = true;
                return G_SOURCE_CONTINUE;
            },
            &isReadable);
        while (!isReadable && !self.m_isInterrupted)
        {
            g_main_context_iteration(nullptr, TRUE);
        }
        g_source_remove(source);
        if (self.m_isInterrupted)
        {
            break;
        }
        char byte = 0;
        const ssize_t count = read(terminal, &byte, 1);
        if (count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN))
        {
            return 0;
        }
        const std::size_t made = count > 0 ? std::mbrtowc(character, &byte, 1, &state) : static_cast<std::size_t>(-2);
        if (made == static_cast<std::size_t>(-1))
        {
            state = {}; // no character of this terminal
        }
        else if (made != static_cast<std::size_t>(-2))
        {
            return 1;
        }
    }
    errno = EINTR;
    return -1;
}

void TCLineEditor::PrintAbove(const std::string& lines)
{
    if (m_isReading)
    {
        // Up to the row where the prompt stands, and everything from there on away.
        const LineInfo* const line = el_line(m_editor.get());
        const std::size_t before = m_prompt.size() + static_cast<std::size_t>(line->cursor - line->buffer);
        const std::size_t rows = before / Columns();
        std::fputc('\r', stdout);
        if (rows > 0)
        {
            std::fprintf(stdout, "\x1b[%zuA", rows);
        }
        std::fputs("\x1b[J", stdout);
    }
    std::fputs(lines.c_str(), stdout);
    std::fflush(stdout);
    if (m_isReading)
    {
        el_set(m_editor.get(), EL_REFRESH);
    }
}

void TCLineEditor::m_List(const TCandidates& candidates)
{
    std::size_t width = 0;
    for (const TSCandidate& candidate : candidates)
    {
        width = std::max(width, candidate.word.size());
    }
    std::fputc('\n', stdout);
    for (const TSCandidate& candidate : candidates)
    {
        const std::string text = candidate.word +
                                 (candidate.help.empty() ? "" : std::string(width - candidate.word.size() + 2, ' ')) +
                                 candidate.help;
        std::fprintf(stdout, "%s\n", text.substr(0, Columns() - 1).c_str());
    }
}

unsigned char TCLineEditor::s_Complete(editline* editor, int)
{
    TCLineEditor& self = s_Self(editor);
    const LineInfo* const line = el_line(editor);
    const std::string text(line->buffer, static_cast<std::size_t>(line->cursor - line->buffer));
    const std::string word(LastWord(text));
    const TCandidates candidates = self.m_complete(text);
    if (candidates.empty())
    {
        return CC_REFRESH_BEEP;
    }
    std::string fresh = CommonStart(candidates);
    if (candidates.size() == 1 && !GoesOn(fresh))
    {
        fresh += ' ';
    }
    if (fresh.size() > word.size())
    {
        el_insertstr(editor, fresh.c_str() + word.size());
        return CC_REFRESH;
    }
    self.m_List(candidates);
    return CC_REDISPLAY;
}
} // namespace CIM::cictl
