#include "cictl/SecretWords.h"

#include "cictl/Verb.h"
#include "json/Scalars.h"
#include "json/Word.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <unistd.h>

namespace CIM::cictl
{
using json::TCSecret;
using json::TCWipeAtEnd;

namespace
{
constexpr std::size_t MOST_BYTES = 4096;

std::map<std::string, TCSecret, std::less<>>& HiddenWords()
{
    static std::map<std::string, TCSecret, std::less<>> words;
    return words;
}

void Hide(const std::string& name, char* word)
{
    if (!IsPointer(word))
    {
        HiddenWords().emplace(name, TCSecret(word));
        const std::size_t length = std::strlen(word);
        explicit_bzero(word, length);
        std::memset(word, '*', length);
    }
}

bool IsSecretName(std::string_view name)
{
    for (const json::TCInterfaceForm& interface : json::Interfaces())
    {
        for (const json::TCOperationForm& operation : interface.Operations())
        {
            const json::TSParameter* const parameter = operation.FindParameter(name);
            if (parameter && parameter->IsSecret())
            {
                return true;
            }
        }
    }
    return false;
}

TCSecret CheckedLine(std::string_view line, const char* where)
{
    if (line.empty())
    {
        throw TCFailure(EXIT_USAGE, std::string(where) + " is empty");
    }
    return TCSecret(line);
}
} // namespace

bool IsPointer(std::string_view word) { return word == "-" || (word.starts_with('@') && !word.starts_with("@@")); }

void HideSecretWords(int argc, char** argv)
{
    HiddenWords().clear();
    int first = 1;
    while (first < argc && argv[first][0] == '-')
    {
        const std::string_view option = argv[first]; // a value of its own has only the host, if it is not joined
        first += option == "-H" || option == "--host" ? 2 : 1;
    }
    const std::string_view verb = first < argc ? argv[first] : "";
    int place = 0; // among the words that are no options
    for (int i = first + 1; i < argc; ++i)
    {
        const std::string_view word = argv[i];
        if (verb == "pin" && word == "--timeout") // its value is no PIN
        {
            ++i;
            continue;
        }
        const std::size_t sign = word.find('=');
        if (verb == "call" && sign != word.npos && IsSecretName(word.substr(0, sign)))
        {
            Hide(std::string(word.substr(0, sign)), argv[i] + sign + 1);
        }
        else if (verb == "pin" && !word.starts_with("--") && ++place > 2)
        {
            Hide("source", argv[i]);
        }
    }
}

bool MayHoldSecret(std::span<const std::string> words)
{
    std::size_t place = 0;
    for (std::size_t i = 1; i < words.size(); ++i)
    {
        const std::string_view word = words[i];
        const std::size_t sign = word.find('=');
        place += word.starts_with("--") ? 0 : 1;
        if ((sign != word.npos && IsSecretName(word.substr(0, sign)) && !IsPointer(word.substr(sign + 1))) ||
            (words.front() == "pin" && place > 2 && !word.starts_with("--") && !IsPointer(word)))
        {
            return true;
        }
    }
    return false;
}

TCSecret WordBehind(const std::string& name, const std::string& word)
{
    const auto found = HiddenWords().find(name);
    return found != HiddenWords().end() ? found->second : TCSecret(word);
}

TCSecret FirstLineOf(const std::string& path)
{
    const auto fail = [&](const std::string& why) { throw TCFailure(EXIT_USAGE, path + ": " + why); };
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (file < 0)
    {
        fail(std::strerror(errno));
    }
    std::string text(MOST_BYTES + 1, '\0');
    const TCWipeAtEnd wipe(text);
    std::size_t size = 0;
    ssize_t count = 0;
    while (size < text.size() && (count = read(file, text.data() + size, text.size() - size)) != 0)
    {
        if (count < 0 && errno != EINTR)
        {
            const int error = errno;
            close(file);
            fail(std::strerror(error));
        }
        size += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    close(file);
    if (size > MOST_BYTES)
    {
        fail("the file is larger than " + std::to_string(MOST_BYTES) + " bytes");
    }
    std::string_view line(text.data(), size);
    line = line.substr(0, line.find('\n'));
    if (line.ends_with('\r'))
    {
        line.remove_suffix(1);
    }
    return CheckedLine(line, size == 0 ? (path + ": the file").c_str() : (path + ": the first line").c_str());
}

TCSecret TCSecretInput::Line(const std::string& prompt)
{
    const TCHiddenInput hidden(IsTerminal());
    if (IsTerminal())
    {
        std::fprintf(stderr, "%s: ", prompt.c_str());
    }
    TCInputLines& input = StandardInput();
    std::optional<std::string> line = input.Await(MOST_BYTES);
    if (!line)
    {
        throw TCFailure(EXIT_USAGE, input.IsAtEnd()
                                        ? "standard input has no line for this: " + prompt
                                        : "the line is longer than " + std::to_string(MOST_BYTES) + " bytes");
    }
    const TCWipeAtEnd wipe(*line);
    return CheckedLine(*line, "the line");
}

TJson TCSecretInput::Value(const json::TSParameter& parameter, const TCSecret& given)
{
    const std::string_view word = given.Text();
    if (!IsPointer(word))
    {
        std::string literal(word == "--" || word.starts_with("@@") ? word.substr(1) : word);
        const TCWipeAtEnd wipe(literal);
        return json::ValueFromWord(*parameter.type, literal, parameter.name);
    }
    const TCSecret line = word == "-" ? Line(parameter.name) : FirstLineOf(std::string(word.substr(1)));
    std::string text(line.Text());
    const TCWipeAtEnd wipe(text);
    // Who types a PIN types its digits, not the bytes that stand for them.
    if (parameter.type->kind == json::EKind::BYTES && !text.starts_with("0x"))
    {
        return json::BytesToHex({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
    }
    return text;
}
} // namespace CIM::cictl
