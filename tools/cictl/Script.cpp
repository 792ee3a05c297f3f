#include "cictl/Script.h"

#include "cictl/Output.h"
#include "cictl/Terminal.h"
#include "cictl/Verb.h"
#include "json/Secret.h"

#include <glib.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <memory>
#include <streambuf>

namespace CIM::cictl
{
namespace
{
constexpr std::size_t MOST_KEPT_BYTES = 1 << 20; // of an output, from its beginning
constexpr int MOST_DEPTH = 8;                    // a script that runs itself would do so for ever

/// Hands on what is written to a stream, and keeps it.
class TCKeptOutput : public std::streambuf
{
public:
    explicit TCKeptOutput(std::ostream& stream) : m_stream(stream), m_target(stream.rdbuf(this)) {}
    ~TCKeptOutput() override
    {
        m_stream.rdbuf(m_target);
        Clear();
    }
    TCKeptOutput(const TCKeptOutput&) = delete;
    TCKeptOutput& operator=(const TCKeptOutput&) = delete;

    const std::string& Text() const { return m_text; }
    void Add(std::string_view text) { m_text.append(text.substr(0, MOST_KEPT_BYTES - m_text.size())); }
    void Clear() { json::Wipe(m_text); }

protected:
    int_type overflow(int_type c) override
    {
        const char byte = traits_type::to_char_type(c);
        return traits_type::eq_int_type(c, traits_type::eof()) || xsputn(&byte, 1) == 1 ? traits_type::not_eof(c)
                                                                                        : traits_type::eof();
    }
    std::streamsize xsputn(const char* bytes, std::streamsize count) override
    {
        Add({bytes, static_cast<std::size_t>(count)});
        return m_target->sputn(bytes, count);
    }
    int sync() override { return m_target->pubsync(); }

private:
    std::ostream& m_stream;
    std::streambuf* m_target;
    std::string m_text;
};

// The member at a path such as "outputs.statuses.0"; null when there is none.
const TJson* Member(const TJson& record, std::string_view path)
{
    const TJson* found = &record;
    while (found != nullptr && !path.empty())
    {
        const std::size_t dot = std::min(path.find('.'), path.size());
        const std::string name(path.substr(0, dot));
        path.remove_prefix(std::min(dot + 1, path.size()));
        std::size_t index = 0;
        const bool isIndex =
            std::from_chars(name.data(), name.data() + name.size(), index).ptr == name.data() + name.size();
        if (found->is_object() && found->contains(name))
        {
            found = &(*found)[name];
        }
        else
        {
            found = found->is_array() && isIndex && index < found->size() ? &(*found)[index] : nullptr;
        }
    }
    return found;
}

// With runs of blanks as one: how wide a column is depends on what else stands in it.
std::string Squeezed(const std::string& text)
{
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    std::string squeezed;
    squeezed.reserve(text.size()); // no copy is left behind that nobody wipes
    for (const char c : text)
    {
        if (!isBlank(c))
        {
            squeezed += c;
        }
        else if (squeezed.empty() || squeezed.back() != ' ')
        {
            squeezed += ' ';
        }
    }
    return squeezed;
}

bool HasMembers(const std::string& line, std::span<const std::string> members)
{
    const TJson record = TJson::parse(line, nullptr, false);
    return record.is_object() &&
           std::all_of(members.begin(), members.end(),
                       [&](const std::string& member)
                       {
                           const std::size_t sign = member.find('=');
                           const TJson* const found = Member(record, std::string_view(member).substr(0, sign));
                           const std::string value = member.substr(sign + 1);
                           return found != nullptr &&
                                  (found->is_string() ? found->get_ref<const std::string&>() == value
                                                      : found->dump() == value);
                       });
}

EExit StatusFromWord(const std::string& word)
{
    for (const TSExit& exit : Exits())
    {
        if (word == exit.name || word == std::to_string(exit.status))
        {
            return exit.status;
        }
    }
    throw TCFailure(EXIT_USAGE, "\"" + word + "\" is no exit status (see cictl list --statuses)");
}

class TCScript
{
public:
    explicit TCScript(std::string name) : m_name(std::move(name)), m_output(Out()) {}

    /// \return what the script ends with, when the line ends it
    std::optional<EExit> Run(std::string line, std::size_t number)
    {
        m_line = number;
        const json::TCWipeAtEnd wipe(line);
        std::vector<std::string> words;
        try
        {
            words = WordsOf(line);
            if (words.empty() || IsOurs(words))
            {
                return std::nullopt;
            }
        }
        catch (const TCFailure& failure)
        {
            PrintFailure(failure.Status(), Place() + failure.what(), false);
            return failure.Status();
        }
        m_verb = words.front();
        m_hasRun = true;
        m_output.Clear();
        const EExit expected = std::exchange(m_expected, std::nullopt).value_or(EXIT_ANSWERED);
        bool isTold = false;
        const int status = RunWords(words,
                                    [&](EExit failed, const std::string& message, bool asJson)
                                    {
                                        isTold = true;
                                        m_output.Add(message + "\n");
                                        if (failed != expected || asJson) // the latter is part of the output
                                        {
                                            PrintFailure(failed, Place() + message, asJson);
                                        }
                                    });
        if (status == expected)
        {
            return std::nullopt;
        }
        if (!isTold || expected != EXIT_ANSWERED)
        {
            PrintFailure(EXIT_REFUSED,
                         Place() + m_verb + " ended with the status " + std::to_string(status) +
                             (expected != EXIT_ANSWERED ? ", not " + std::to_string(expected) : ""),
                         false);
        }
        return status == EXIT_ANSWERED ? EXIT_REFUSED : static_cast<EExit>(status);
    }

    /// \return what the script ends with, when it must not end here
    std::optional<EExit> End()
    {
        if (!m_expected)
        {
            return std::nullopt;
        }
        m_line = m_expectedLine;
        PrintFailure(EXIT_USAGE, Place() + "no verb stands behind expect-status", false);
        return EXIT_USAGE;
    }

private:
    std::string Place() const { return m_name + ":" + std::to_string(m_line) + ": "; }

    // Does what a line says that is for the script itself. \return whether it was one
    bool IsOurs(const std::vector<std::string>& words)
    {
        if (words.front() == "expect-status")
        {
            if (words.size() != 2)
            {
                throw TCFailure(EXIT_USAGE, "expect-status takes an exit status");
            }
            if (m_expected)
            {
                throw TCFailure(EXIT_USAGE, "expect-status stands behind another, of line " +
                                                std::to_string(m_expectedLine) + ", without a verb between them");
            }
            m_expected = StatusFromWord(words[1]);
            m_expectedLine = m_line;
            return true;
        }
        if (words.front() == "expect")
        {
            Expect(std::span(words).subspan(1));
            return true;
        }
        if (words.front().starts_with('-') || words.front() == "shell")
        {
            throw TCFailure(EXIT_USAGE,
                            "a line begins with a verb, or with expect or expect-status, not with " + words.front());
        }
        return false;
    }

    void Expect(std::span<const std::string> words)
    {
        const bool isJson = !words.empty() && words.front() == "--json";
        words = words.subspan(isJson ? 1 : 0);
        if (words.empty() || !m_hasRun ||
            (isJson && std::any_of(words.begin(), words.end(),
                                   [](const std::string& word) { return word.find('=') == word.npos; })))
        {
            throw TCFailure(EXIT_USAGE, m_hasRun ? "expect takes a text, or --json and MEMBER=VALUE..."
                                                 : "expect stands behind a verb");
        }
        std::string wanted;
        for (const std::string& word : words)
        {
            wanted += (wanted.empty() ? "" : " ") + word;
        }
        bool isFound = false;
        if (!isJson)
        {
            std::string text = Squeezed(m_output.Text());
            const json::TCWipeAtEnd wipe(text);
            isFound = text.find(Squeezed(wanted)) != std::string::npos;
        }
        for (std::size_t at = 0; isJson && !isFound && at < m_output.Text().size();)
        {
            const std::size_t end = std::min(m_output.Text().find('\n', at), m_output.Text().size());
            isFound = HasMembers(m_output.Text().substr(at, end - at), words);
            at = end + 1;
        }
        if (!isFound)
        {
            throw TCFailure(EXIT_REFUSED, (isJson ? "no line of the output of " : "the output of ") + m_verb +
                                              (isJson ? " has " : " does not contain ") + wanted);
        }
    }

    const std::string m_name;
    TCKeptOutput m_output;
    std::size_t m_line = 0;
    std::string m_verb;
    bool m_hasRun = false;
    std::optional<EExit> m_expected; ///< of the next verb
    std::size_t m_expectedLine = 0;
};
} // namespace

std::vector<std::string> WordsOf(const std::string& line)
{
    gint count = 0;
    gchar** parsed = nullptr;
    GError* error = nullptr;
    std::vector<std::string> words;
    if (line.find('\0') != line.npos)
    {
        throw TCFailure(EXIT_USAGE, "the line holds a null byte");
    }
    if (g_shell_parse_argv(line.c_str(), &count, &parsed, &error))
    {
        for (gint i = 0; i < count; ++i)
        {
            words.emplace_back(parsed[i]);
            explicit_bzero(parsed[i], std::strlen(parsed[i]));
        }
        g_strfreev(parsed);
        return words;
    }
    const bool isEmpty = g_error_matches(error, G_SHELL_ERROR, G_SHELL_ERROR_EMPTY_STRING);
    g_error_free(error); // its text quotes the line, in which a PIN may stand
    if (!isEmpty)
    {
        throw TCFailure(EXIT_USAGE, "a quotation does not end");
    }
    return words;
}

int RunWords(std::vector<std::string>& words, const TCTell& tell)
{
    std::string program = "cictl";
    std::vector<char*> arguments = {program.data()};
    for (std::string& word : words)
    {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    const int status = RunCommandLine(static_cast<int>(words.size()) + 1, arguments.data(), tell);
    for (std::string& word : words)
    {
        json::Wipe(word);
    }
    return status;
}

EExit RunScript(const std::string& name, const std::function<std::optional<TSLine>()>& next)
{
    static int depth = 0;
    if (depth == MOST_DEPTH)
    {
        throw TCFailure(EXIT_USAGE, "scripts run scripts too deep");
    }
    ++depth;
    const std::unique_ptr<int, void (*)(int*)> leave(&depth, [](int* counted) { --*counted; });
    std::optional<EExit> end;
    TCScript script(name);
    std::optional<TSLine> line;
    while (!end && (line = next()))
    {
        end = script.Run(std::move(line->text), line->number);
    }
    return (end ? end : script.End()).value_or(EXIT_ANSWERED);
}

EExit RunStandardInput()
{
    TCInputLines& input = StandardInput();
    const EExit exit =
        RunScript("standard input",
                  [&]() -> std::optional<TSLine>
                  {
                      std::optional<std::string> line = input.Await(MOST_LINE_BYTES);
                      return line ? std::optional<TSLine>({std::move(*line), input.Taken()}) : std::nullopt;
                  });
    if (exit == EXIT_ANSWERED && !input.IsAtEnd())
    {
        throw TCFailure(EXIT_USAGE, "a line is longer than " + std::to_string(MOST_LINE_BYTES) + " bytes");
    }
    return exit;
}

EExit RunVerb(const TCArguments& arguments)
{
    const std::string path = arguments.Text("file");
    if (path == "-")
    {
        return RunStandardInput();
    }
    std::ifstream file(path);
    if (!file)
    {
        throw TCFailure(EXIT_USAGE, path + ": " + std::strerror(errno));
    }
    std::size_t number = 0;
    const EExit exit = RunScript(path,
                                 [&]() -> std::optional<TSLine>
                                 {
                                     std::string line;
                                     if (!std::getline(file, line))
                                     {
                                         return std::nullopt;
                                     }
                                     if (line.ends_with('\r'))
                                     {
                                         line.pop_back();
                                     }
                                     return TSLine{std::move(line), ++number};
                                 });
    if (file.bad())
    {
        throw TCFailure(EXIT_USAGE, path + ": cannot be read");
    }
    return exit;
}
} // namespace CIM::cictl
