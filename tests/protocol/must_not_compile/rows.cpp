// Rows of an operation table, and what is found and called by them: the one named by ROW is compiled. Each that must
// not compile stands beside its twin, which must.

#include "protocol/Members.h"
#include "proxy/ProxyCall.h"

namespace CIM::protocol
{
struct TIService
{
    virtual ~TIService() = default;
    virtual int Ask(int question, bool& answer) = 0;
    virtual int Tell(int number, bool oneWay) = 0;
    virtual int Turn(bool on, bool oneWay) = 0;
    virtual int Wait(int oneWay) = 0;
    virtual short Narrow(int number) = 0;
    virtual int Point(void* address) = 0;
    virtual int Place(TVSHandle const& handle) = 0;
    virtual int Change(int& value) = 0;
    virtual int Get(int& value, bool oneWay) = 0;
    virtual int Forget() = 0;
    virtual int Repeat() = 0;
};

template <>
struct TTable<TIService>
{
    static constexpr std::tuple ROWS{
        Row<&TIService::Ask>(0, In("question"), Out("answer")),
        Row<&TIService::Tell>(1, In("number"), OneWay()),
        Row<&TIService::Change>(2, InOut("value")),
        Row<&TIService::Repeat>(3),
        Row<&TIService::Repeat>(4),
    };
};

struct SRecord
{
    int number;
    void* address;
};

#if ROW == 10 // an output that is an input
constexpr auto UNDER_TEST = Row<&TIService::Ask>(0, Out("question", "answer"));
#elif ROW == 20 // an input that is an output
constexpr auto UNDER_TEST = Row<&TIService::Ask>(0, In("question", "answer"));
#elif ROW == 30 // a word missing
constexpr auto UNDER_TEST = Row<&TIService::Ask>(0, In("question"));
#elif ROW == 11 || ROW == 21 || ROW == 31
constexpr auto UNDER_TEST = Row<&TIService::Ask>(0, In("question"), Out("answer"));

#elif ROW == 40 // the one-way flag is not a bool
constexpr auto UNDER_TEST = Row<&TIService::Wait>(0, OneWay());
#elif ROW == 50 // the one-way flag is not at the end
constexpr auto UNDER_TEST = Row<&TIService::Turn>(0, OneWay(), In("on"));
#elif ROW == 41 || ROW == 51
constexpr auto UNDER_TEST = Row<&TIService::Turn>(0, In("on"), OneWay());

#elif ROW == 60 // a result slot of a width that does not travel
constexpr auto UNDER_TEST = Row<&TIService::Narrow>(0, In("number"));
#elif ROW == 61
constexpr auto UNDER_TEST = Row<&TIService::Place>(0, In("handle"));

#elif ROW == 70 // a type without a form on the wire
constexpr auto UNDER_TEST = Row<&TIService::Point>(0, In("address"));
#elif ROW == 71
constexpr auto UNDER_TEST = Row<&TIService::Point>(0, NotSent("address"));

#elif ROW == 80 // only a pipeline handle has members
constexpr auto UNDER_TEST = Row<&TIService::Tell>(0, InMembers("number"), OneWay());
#elif ROW == 81
constexpr auto UNDER_TEST = Row<&TIService::Place>(0, InMembers("handle"));

#elif ROW == 90 // a call that can be one-way with an output that nobody would write
constexpr auto UNDER_TEST = Row<&TIService::Get>(0, Out("value"), OneWay());
#elif ROW == 91
constexpr auto UNDER_TEST = Row<&TIService::Get>(0, Out("value"), In("oneWay"));

#elif ROW == 100 // an operation without a row
constexpr const auto& UNDER_TEST = RowOf<&TIService::Forget>();
#elif ROW == 110 // an operation with two rows
constexpr const auto& UNDER_TEST = RowOf<&TIService::Repeat>();
#elif ROW == 101 || ROW == 111
constexpr const auto& UNDER_TEST = RowOf<&TIService::Ask>();

#elif ROW == 120 // an argument of another type
int UnderTest(TCProxyCall& call) { return *call.Do<&TIService::Tell>(static_cast<unsigned char>(1), true); }
#elif ROW == 121
int UnderTest(TCProxyCall& call) { return *call.Do<&TIService::Tell>(1, true); }

#elif ROW == 130 // an output that the call may not write
int UnderTest(TCProxyCall& call, const bool& answer) { return *call.Do<&TIService::Ask>(1, answer); }
#elif ROW == 131
int UnderTest(TCProxyCall& call, bool& answer) { return *call.Do<&TIService::Ask>(1, answer); }

#elif ROW == 140 // a member without a form on the wire
constexpr auto UNDER_TEST = Member<&SRecord::address>(0);
#elif ROW == 141
constexpr auto UNDER_TEST = Member<&SRecord::number>(0);
#else
#error "no such row"
#endif
} // namespace CIM::protocol
