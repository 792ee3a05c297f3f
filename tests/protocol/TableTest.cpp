#include "protocol/AppMMI.h"
#include "protocol/AuxiliaryFileSystem.h"
#include "protocol/CICAMPlayer.h"
#include "protocol/Debug.h"
#include "protocol/General.h"
#include "protocol/OperatorProfile.h"
#include "protocol/PvrCip.h"
#include "protocol/SampleDecryption.h"
#include "protocol/SignalSubscriber.h"

#include <gtest/gtest.h>

#include <set>

namespace CIM::protocol
{
namespace
{
struct TExpected
{
    std::size_t rows;
    std::string connectionName;
    std::vector<short> ids;
};

template <class Interface>
void CheckTable(const TExpected& expected)
{
    SCOPED_TRACE(NameOf<Interface>());
    EXPECT_EQ(TTable<Interface>::ConnectionName(), expected.connectionName);
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
    EXPECT_EQ(ids.size(), expected.rows);
    EXPECT_EQ(ids, expected.ids);
    EXPECT_EQ(std::set<short>(ids.begin(), ids.end()).size(), ids.size()) << "an identifier twice";
}

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
    CheckTable<ICIGeneral>({45, "com.kelvora.ciapi.ICIGeneral", Count(45)});
    CheckTable<ICIAppMMI>({9, "com.kelvora.ciapi.ICIAppMMI", Count(9)});
    CheckTable<ICIAuxiliaryFileSystem>({5, "com.kelvora.ciapi.ICIAuxiliaryFileSystem", Count(5)});
    CheckTable<ICICAMPlayer>({6, "com.kelvora.ciapi.ICICAMPlayer", Count(6)});
    CheckTable<ICIDebug>({24, "com.kelvora.ciapi.ICIDebug", Count(24)});
    CheckTable<ICIOperatorProfile>(
        {14, "com.kelvora.ciapi.ICIOperatorProfile", {0, 1, 2, 3, 5, 4, 6, 7, 8, 9, 10, 11, 12, 13}});
    CheckTable<ICISampleDecryption>({6, "com.kelvora.ciapi.ICISampleDecryption", Count(6)});
    CheckTable<IPvrCip>({12, "com.kelvora.ciapi.IPvrCip", Count(12)});
    CheckTable<ICISignalSubscriber>({2, "com.kelvora.ciapi.ICISignalSubscriber", Count(2)});
}
} // namespace CIM::protocol
