// Rows of an operation table: the one named by ROW is compiled. Each row that must not compile stands beside its twin,
// which must.

#include "protocol/Operation.h"

namespace CIM::protocol
{
struct TIService
{
    virtual ~TIService() = default;
    virtual int Ask(int question, bool& answer) = 0;
    virtual int Tell(int number, bool oneWay) = 0;
    virtual short Narrow(int number) = 0;
    virtual int Point(void* address) = 0;
    virtual int Place(TVSHandle const& handle) = 0;
    virtual int Change(int& value) = 0;
};

#if ROW == 10 // an output that is an input
inline constexpr auto ROW_UNDER_TEST = Operation(&TIService::Ask, 0, "Ask", Out("question"), Out("answer"));
#elif ROW == 20 // an input that is an output
inline constexpr auto ROW_UNDER_TEST = Operation(&TIService::Ask, 0, "Ask", In("question"), In("answer"));
#elif ROW == 30 // a word missing
inline constexpr auto ROW_UNDER_TEST = Operation(&TIService::Ask, 0, "Ask", In("question"));
#elif ROW == 11 || ROW == 21 || ROW == 31
inline constexpr auto ROW_UNDER_TEST = Operation(&TIService::Ask, 0, "Ask", In("question"), Out("answer"));

#elif ROW == 40 // the one-way flag is not a bool
inline constexpr auto ROW_UNDER_TEST = Operation(&TIService::Tell, 0, "Tell", OneWay(), In("oneWay"));
#elif ROW == 41
inline constexpr auto ROW_UNDER_TEST = Operation(&TIService::Tell, 0, "Tell", In("number"), OneWay());

#elif ROW == 50 // a result slot of a width that does not travel
inline constexpr auto ROW_UNDER_TEST = Operation(&TIService::Narrow, 0, "Narrow", In("number"));
#elif ROW == 51
inline constexpr auto ROW_UNDER_TEST = Operation(&TIService::Place, 0, "Place", In("handle"));

#elif ROW == 60 // a type without a form on the wire
inline constexpr auto ROW_UNDER_TEST = Operation(&TIService::Point, 0, "Point", In("address"));
#elif ROW == 61
inline constexpr auto ROW_UNDER_TEST = Operation(&TIService::Point, 0, "Point", NotSent("address"));

#elif ROW == 70 // only a pipeline handle has members
inline constexpr auto ROW_UNDER_TEST = Operation(&TIService::Tell, 0, "Tell", InMembers("number"), OneWay());
#elif ROW == 71
inline constexpr auto ROW_UNDER_TEST = Operation(&TIService::Place, 0, "Place", InMembers("handle"));

#elif ROW == 80 // a call that can be one-way with an output that nobody would write
struct TIOneWay
{
    virtual ~TIOneWay() = default;
    virtual int Get(int& value, bool oneWay) = 0;
};
inline constexpr auto ROW_UNDER_TEST = Operation(&TIOneWay::Get, 0, "Get", Out("value"), OneWay());
#elif ROW == 81
inline constexpr auto ROW_UNDER_TEST = Operation(&TIService::Change, 0, "Change", InOut("value"));

#elif ROW == 90 || ROW == 91 // arguments that differ from the declared operation's
inline constexpr auto ROW_UNDER_TEST = Operation(&TIService::Tell, 0, "Tell", In("number"), OneWay());
using TRow = std::remove_const_t<decltype(ROW_UNDER_TEST)>;
#if ROW == 90
static_assert(TRow::Takes<unsigned char, bool>());
#else
static_assert(TRow::Takes<int, bool>());
#endif
#endif

static_assert(ROW_UNDER_TEST.id == 0);
} // namespace CIM::protocol
