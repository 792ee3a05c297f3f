#include "protocol/Interfaces.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace CIM::protocol
{
namespace
{
std::vector<short> Count(short count)
{
    std::vector<short> ids;
    for (short id = 0; id < count; ++id)
    {
        ids.push_back(id);
    }
    return ids;
}
} // namespace

// Every operation has a row, in slot order, with its own identifier: in eight interfaces that is the slot's number.
TEST(Tables, HoldEveryOperationOnce)
{
    std::map<std::string, std::vector<short>> expected{
        {"ICIGeneral", Count(45)},
        {"ICIAppMMI", Count(9)},
        {"ICIAuxiliaryFileSystem", Count(5)},
        {"ICICAMPlayer", Count(6)},
        {"ICIDebug", Count(24)},
        {"ICIOperatorProfile", {0, 1, 2, 3, 5, 4, 6, 7, 8, 9, 10, 11, 12, 13}},
        {"ICISampleDecryption", Count(6)},
        {"IPvrCip", Count(12)},
        {"ICISignalSubscriber", Count(2)},
    };
    ForEachInterface(
        [&]<class Interface>(TType<Interface>)
        {
            const std::string interface = NameOf<Interface>();
            SCOPED_TRACE(interface);
            EXPECT_EQ(TTable<Interface>::ConnectionName(), "com.kelvora.ciapi." + interface);
            std::vector<short> ids;
            ForEachRow<Interface>(
                [&](const auto& row)
                {
                    ids.push_back(row.id);
                    std::set<std::string_view> names;
                    for (const char* name : row.parameterNames)
                    {
                        EXPECT_TRUE(names.insert(name).second) << row.NAME << " has two parameters called " << name;
                    }
                });
            EXPECT_EQ(ids, expected[interface]);
            expected.erase(interface);
        });
    EXPECT_TRUE(expected.empty()) << expected.begin()->first << " is not in the list of interfaces";
}
} // namespace CIM::protocol
