#include "cictl/TraceChart.h"

#include "cictl/Output.h"
#include "cictl/Time.h"
#include "cictl/TraceFilter.h"

#include "protocol/Envelope.h"

#include <algorithm>
#include <cstdio>

namespace CIM::cictl
{
namespace
{
constexpr std::size_t MOST_ROWS = 200;     ///< that a reader, and a page, can take
constexpr std::size_t MOST_IN_A_ROUND = 8; ///< rows of what repeats itself: four calls
constexpr std::size_t ROUNDS = 3;          ///< what comes less often is shown as it came
constexpr std::size_t MOST_CHARACTERS = 100;
constexpr std::size_t MOST_NAME_CHARACTERS = 40;
constexpr std::size_t MOST_KNOWN = 4096; ///< connections and processes
constexpr const char* DAEMON = "D";
constexpr const char* BUS = "B";

std::string Text(const char* text) { return text != nullptr ? text : ""; }

/// Who calls, or is answered.
std::string Application(const char* unique) { return unique != nullptr ? unique : "unknown"; }

/// A text as Mermaid shows it: what could end it, begin a comment, a directive, a formula or markup goes by number.
std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char c : Harmless(text))
    {
        constexpr std::string_view SPECIAL = "#;%<>&\"`$";
        escaped +=
            SPECIAL.find(c) != SPECIAL.npos ? "#" + std::to_string(static_cast<int>(c)) + ";" : std::string(1, c);
    }
    return escaped;
}

/// "slot: 0, pin: ***"
std::string Members(const TJson& record, const char* key)
{
    const auto found = record.find(key);
    if (found == record.end() || found->empty())
    {
        return "";
    }
    std::string words = InWords(*found);
    if (found->is_object())
    {
        words = words.substr(1, words.size() - 2);
    }
    return json::Shortened(words, MOST_CHARACTERS);
}

std::string ErrorIn(const TJson& record)
{
    return record.contains("error") ? " error: " + json::Shortened(InWords(record["error"]), MOST_CHARACTERS) : "";
}

std::string CallText(const TJson& record)
{
    return InWords(record["operation"]) + "(" + Members(record, "arguments") + ")" + ErrorIn(record);
}

std::string ReplyText(const TJson& record)
{
    const std::string operation = InWords(record["operation"]);
    std::string text = operation.substr(operation.find('.') + 1); // the interface stands at the call
    if (record.contains("status") && (record["status"].get<int>() & protocol::STATUS_HANDLED) == 0)
    {
        text += " status=" + InWords(record["status"]);
    }
    if (record.contains("result"))
    {
        text += " = " + json::Shortened(InWords(record["result"]), MOST_CHARACTERS);
    }
    const std::string outputs = Members(record, "outputs");
    return text + (outputs.empty() ? "" : ", " + outputs) + ErrorIn(record);
}

std::string SignalText(const TJson& record)
{
    std::string text = InWords(record["type"]);
    for (const char* const key : {"words", "data"})
    {
        text += record.contains(key) ? " " + InWords(record[key]) : "";
    }
    return json::Shortened(text, MOST_CHARACTERS) + ErrorIn(record);
}

std::string Number(const char* format, double number)
{
    char text[64];
    std::snprintf(text, sizeof text, format, number);
    return text;
}
} // namespace

bool TCTraceChart::TSRow::Repeats(const TSRow& other) const
{
    return kind != EKind::MARK && kind == other.kind && application == other.application && isOfBus == other.isOfBus &&
           text == other.text;
}

/// The chart while it is written: who takes part stands before what they say.
class TCTraceChart::TCPage
{
public:
    explicit TCPage(const TCTraceChart& chart) : m_chart(chart) {}

    void Print()
    {
        const bool isCut = m_ChoosePieces();
        m_MeetParticipants();
        Out() << "sequenceDiagram\n";
        m_Line("autonumber");
        for (const auto& [name, label] : m_participants)
        {
            m_Line("participant " + name + " as " + label);
        }
        if (m_pieces.empty())
        {
            m_Note("no message is wanted");
            return;
        }
        m_Note("+ seconds are counted from " + TimeText(m_pieces.front()->rows.front().moment.real));
        for (const TSPiece* const piece : m_pieces)
        {
            m_PrintPiece(*piece);
        }
        if (isCut)
        {
            std::uint64_t count = 0;
            for (const TSPiece* const piece : m_pieces)
            {
                count += piece->count * piece->rows.size();
            }
            const std::string held = "the chart holds the first " + std::to_string(count) + " messages";
            m_Note(held + ", more came");
            Out().flush();
            std::fprintf(stderr,
                         "cictl: %s; --operation, --signal, --program, --slot, --errors, --slower-than, --from and "
                         "--to cut down "
                         "what it is made of\n",
                         held.c_str());
        }
    }

private:
    /// \return whether not all have a place
    bool m_ChoosePieces()
    {
        std::size_t count = 0;
        for (const TSPiece& piece : m_chart.m_pieces)
        {
            count += piece.rows.size();
            if (count > MOST_ROWS)
            {
                return true;
            }
            m_pieces.push_back(&piece);
        }
        return false;
    }

    void m_MeetParticipants()
    {
        bool hasBus = false;
        for (const TSPiece* const piece : m_pieces)
        {
            for (const TSRow& row : piece->rows)
            {
                hasBus = hasBus || row.isOfBus;
                if (!row.application.empty())
                {
                    m_MeetApplication(row.application);
                }
            }
        }
        m_applicationCount = m_participants.size();
        m_participants.emplace_back(DAEMON, "ci-daemon");
        if (hasBus)
        {
            m_participants.emplace_back(BUS, "D-Bus");
        }
    }

    /// The connections of one process are one participant.
    void m_MeetApplication(const std::string& unique)
    {
        const auto process = m_chart.m_processes.find(unique);
        std::string label = unique;
        if (process != m_chart.m_processes.end())
        {
            const auto program = m_chart.m_programs.find(process->second);
            const std::string number = std::to_string(process->second);
            label = program != m_chart.m_programs.end() ? program->second + " (" + number + ")" : "process " + number;
        }
        label = Escaped(label);
        auto found = std::find_if(m_participants.begin(), m_participants.end(),
                                  [&](const auto& participant) { return participant.second == label; });
        if (found == m_participants.end())
        {
            m_participants.emplace_back("A" + std::to_string(m_participants.size() + 1), label);
            found = m_participants.end() - 1;
        }
        m_names[unique] = found->first;
    }

    void m_PrintPiece(const TSPiece& piece)
    {
        const bool isLoop = piece.count > 1;
        if (isLoop)
        {
            m_Line("loop " + std::to_string(piece.count) + " times, " + m_Time(piece.rows.front().moment) + " to " +
                   m_Time(piece.last) +
                   (piece.slowestMs > 0 ? ", the slowest reply in " + Number("%.3f ms", piece.slowestMs) : ""));
        }
        for (const TSRow& row : piece.rows)
        {
            m_PrintRow(row, isLoop);
        }
        if (isLoop)
        {
            m_Line("end");
        }
    }

    void m_PrintRow(const TSRow& row, bool isInLoop)
    {
        const bool isReply = row.kind == EKind::REPLY || row.kind == EKind::BAD_REPLY;
        const std::string before = isInLoop || isReply ? "" : m_Time(row.moment) + " ";
        const std::string after = isInLoop || !isReply ? "" : " (" + Number("%.3f ms", row.ms) + ")";
        const std::string text = before + Escaped(row.text) + after;
        const std::string application = row.application.empty() ? "" : m_names[row.application];
        const std::string margin = isInLoop ? "    " : "";
        switch (row.kind)
        {
        case EKind::CALL:
            m_Line(margin + application + "->>" + DAEMON + ": " + text);
            break;
        case EKind::BAD_CALL:
            m_Line(margin + application + "-x" + DAEMON + ": " + text);
            break;
        case EKind::ONE_WAY:
            m_Line(margin + application + "-)" + DAEMON + ": " + text);
            break;
        case EKind::REPLY:
        case EKind::BAD_REPLY:
            m_Line(margin + (row.isOfBus ? BUS : DAEMON) + (row.kind == EKind::REPLY ? "-->>" : "--x") + application +
                   ": " + text);
            break;
        case EKind::SIGNAL:
            if (!application.empty() || m_applicationCount == 1)
            {
                m_Line(margin + DAEMON + "-)" + (application.empty() ? m_participants[0].first : application) + ": " +
                       text);
                break;
            }
            m_Note("signal " + text, margin);
            break;
        case EKind::MARK:
            m_Note("mark " + text, margin);
            break;
        }
    }

    std::string m_Time(const recording::TSMoment& moment) const
    {
        const std::int64_t time = recording::TimeBetween(m_pieces.front()->rows.front().moment, moment);
        return Number("%+.3f s", static_cast<double>(time) / 1e9);
    }

    static void m_Line(const std::string& line) { Out() << "    " << line << '\n'; }

    /// Over all applications and the daemon. \param[in] text  escaped
    void m_Note(const std::string& text, const std::string& margin = "") const
    {
        const std::string first = m_applicationCount > 0 ? m_participants[0].first + "," : "";
        m_Line(margin + "Note over " + first + DAEMON + ": " + text);
    }

    const TCTraceChart& m_chart;
    std::vector<const TSPiece*> m_pieces;
    std::vector<std::pair<std::string, std::string>> m_participants; ///< name in the chart, label
    std::size_t m_applicationCount = 0;
    std::map<std::string, std::string> m_names; ///< of applications in the chart, by unique name
};

void TCTraceChart::Print() const { TCPage(*this).Print(); }

void TCTraceChart::Meet(DBusMessage* message, const TJson& record)
{
    const auto from = record.find("from");
    if (from == record.end() || !from->is_number_integer())
    {
        return;
    }
    const auto process = from->get<std::int64_t>();
    if (m_processes.size() < MOST_KNOWN)
    {
        m_processes.emplace(Text(dbus_message_get_sender(message)), process);
    }
    const auto program = record.find("program");
    if (program != record.end() && m_programs.size() < MOST_KNOWN)
    {
        m_programs[process] = json::Shortened(InWords(*program), MOST_NAME_CHARACTERS);
    }
}

bool TCTraceChart::IsFull() const
{
    // Whether what comes last repeats what came before cannot be told earlier.
    return m_rowCount > MOST_ROWS + ROUNDS * MOST_IN_A_ROUND;
}

void TCTraceChart::Add(DBusMessage* message, const TCDissector::TSDescribed& described)
{
    if (IsFull())
    {
        return;
    }
    const TJson& record = described.record;
    const std::string kind = record["kind"];
    TSRow row;
    row.moment = described.moment;
    if (kind == "call")
    {
        const bool isOneWay = record.contains("oneWay") || dbus_message_get_no_reply(message);
        row.kind = record.contains("error") ? EKind::BAD_CALL : isOneWay ? EKind::ONE_WAY : EKind::CALL;
        row.application = Application(dbus_message_get_sender(message));
        row.text = CallText(record);
    }
    else if (kind == "reply")
    {
        row.kind = IsFailure(described) ? EKind::BAD_REPLY : EKind::REPLY;
        row.application = Application(dbus_message_get_destination(message));
        row.text = ReplyText(record);
        row.isOfBus = dbus_message_has_sender(message, DBUS_SERVICE_DBUS);
        row.ms = described.ms.value_or(0);
    }
    else if (kind == "signal")
    {
        row.kind = EKind::SIGNAL;
        row.application = Text(dbus_message_get_destination(message));
        row.text = SignalText(record);
    }
    else
    {
        row.kind = EKind::MARK;
        row.text = json::Shortened(InWords(record["text"]), MOST_CHARACTERS);
    }
    m_pieces.push_back({{row}, 1, row.moment, row.ms});
    ++m_rowCount;
    m_Fold();
}

/// Takes the latest rows together when they repeat what came before them.
void TCTraceChart::m_Fold()
{
    const std::size_t size = m_pieces.size();
    std::size_t plain = 0; // latest pieces that are no loops
    while (plain < size && plain < ROUNDS * MOST_IN_A_ROUND && m_pieces[size - plain - 1].count == 1)
    {
        ++plain;
    }
    for (std::size_t length = 1; length <= std::min(plain, MOST_IN_A_ROUND); ++length)
    {
        const std::size_t latest = size - length;
        const EKind begin = m_pieces[latest].rows.front().kind;
        if (begin == EKind::REPLY || begin == EKind::BAD_REPLY)
        {
            continue; // a round begins with a call
        }
        const auto repeats = [](const TSRow& row, const TSPiece& piece) { return row.Repeats(piece.rows.front()); };
        const auto round = m_pieces.begin() + static_cast<std::ptrdiff_t>(latest);
        if (plain == length && latest > 0)
        {
            const std::vector<TSRow>& before = m_pieces[latest - 1].rows;
            if (before.size() == length && std::equal(before.begin(), before.end(), round, repeats))
            {
                m_Merge(latest - 1, latest, length);
                return;
            }
        }
        if (plain >= ROUNDS * length && m_Repeats(latest - length, latest, length) &&
            m_Repeats(latest - 2 * length, latest, length))
        {
            const std::size_t first = latest - 2 * length;
            for (std::size_t i = 1; i < length; ++i)
            {
                m_pieces[first].rows.push_back(m_pieces[first + i].rows.front());
                m_pieces[first].slowestMs = std::max(m_pieces[first].slowestMs, m_pieces[first + i].slowestMs);
            }
            m_pieces.erase(m_pieces.begin() + static_cast<std::ptrdiff_t>(first + 1),
                           m_pieces.begin() + static_cast<std::ptrdiff_t>(first + length));
            m_Merge(first, first + 1, length);
            m_Merge(first, first + 1, length);
            return;
        }
    }
}

bool TCTraceChart::m_Repeats(std::size_t first, std::size_t second, std::size_t length) const
{
    for (std::size_t i = 0; i < length; ++i)
    {
        if (!m_pieces[first + i].rows.front().Repeats(m_pieces[second + i].rows.front()))
        {
            return false;
        }
    }
    return true;
}

/// The pieces, single rows, are one more round of the target.
void TCTraceChart::m_Merge(std::size_t target, std::size_t first, std::size_t length)
{
    TSPiece& loop = m_pieces[target];
    ++loop.count;
    for (std::size_t i = first; i < first + length; ++i)
    {
        loop.last = m_pieces[i].last;
        loop.slowestMs = std::max(loop.slowestMs, m_pieces[i].slowestMs);
    }
    const auto begin = m_pieces.begin() + static_cast<std::ptrdiff_t>(first);
    m_pieces.erase(begin, begin + static_cast<std::ptrdiff_t>(length));
    m_rowCount -= length;
}
} // namespace CIM::cictl
