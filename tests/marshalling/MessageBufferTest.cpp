#include <tvplatform/MessageBuffer.h>

#include <gtest/gtest.h>

#include <string>

namespace
{

std::string Unread(const TCMessageBuffer& buffer)
{
    const char* bytes = buffer.GetAsCStr(0);
    return bytes ? std::string(bytes, buffer.GetUnreadSize()) : std::string();
}

std::string ByPieces(const TCMessageBuffer& buffer)
{
    std::string result;
    for (std::size_t index = 0; index < buffer.GetPieceCount(); ++index)
    {
        std::size_t length = 0;
        const char* piece = buffer.GetPiece(index, length);
        result.append(piece, length);
    }
    return result;
}

} // namespace

TEST(MessageBuffer, LengthsAndPointersThatMeanNothingAddNothing)
{
    TCMessageBuffer buffer;
    buffer.PushConcatenated(-1, "abc");
    buffer.PushConcatenated(0, "abc");
    buffer.PushConcatenated(3, nullptr);
    buffer.PushBorrowed(3, nullptr);
    buffer.PushShared(0, "abc", nullptr);
    EXPECT_EQ(buffer.GetUnreadSize(), 0U);
    EXPECT_EQ(buffer.GetPieceCount(), 0U);
    EXPECT_EQ(buffer.GetAsCStr(0), nullptr);
    EXPECT_TRUE(buffer.Skip(0));
    EXPECT_FALSE(buffer.Skip(1));
    buffer.SetSender(nullptr);
    EXPECT_EQ(buffer.GetSender(), "");
}

// Every place where reading can stop, over own, borrowed and shared bytes, with and without joining before.
TEST(MessageBuffer, BytesComeOutInTheOrderTheyWentIn)
{
    const std::string big(5000, 'b');
    const std::string whole = "head" + big + "mid" + "shared" + big + "tail";
    for (const bool joinFirst : {false, true})
    {
        for (std::size_t skipped : {0, 1, 4, 5, 5004, 5006, 5007, 5010, 5013, 9000, 10013, 10016, 10017})
        {
            auto shared = std::make_shared<std::string>("shared");
            const std::weak_ptr<std::string> watched = shared;
            {
                TCMessageBuffer buffer;
                buffer.PushConcatenated(4, "head");
                buffer.PushBorrowed(big.size(), big.data());
                buffer.PushConcatenated(3, "mid");
                const char* data = shared->data();
                buffer.PushShared(6, data, std::move(shared));
                buffer.PushConcatenated(static_cast<int>(big.size()), big.data());
                if (joinFirst)
                {
                    EXPECT_EQ(Unread(buffer), whole.substr(0, whole.size() - 4));
                    EXPECT_EQ(buffer.GetPieceCount(), 1U);
                }
                buffer.PushConcatenated(4, "tail");
                ASSERT_TRUE(buffer.Skip(skipped));
                const std::string expected = whole.substr(skipped);
                EXPECT_EQ(ByPieces(buffer), expected) << skipped;
                EXPECT_EQ(buffer.GetUnreadSize(), expected.size());
                EXPECT_FALSE(buffer.Skip(expected.size() + 1));
                EXPECT_EQ(Unread(buffer), expected) << skipped;
                if (!expected.empty())
                {
                    EXPECT_EQ(*buffer.GetAsCStr(static_cast<unsigned>(expected.size() - 1)), 'l');
                }
                EXPECT_EQ(buffer.GetAsCStr(static_cast<unsigned>(expected.size())), nullptr);
                buffer.PushConcatenated(1, "!");
                EXPECT_EQ(Unread(buffer), expected + "!");
            }
            EXPECT_TRUE(watched.expired());
        }
    }
}

TEST(MessageBuffer, BorrowedBytesAreNotCopiedAsLongAsNobodyWantsOnePiece)
{
    const std::string big(5000, 'b');
    TCMessageBuffer buffer;
    buffer.PushConcatenated(4, "head");
    buffer.PushBorrowed(big.size(), big.data());
    std::size_t length = 0;
    ASSERT_EQ(buffer.GetPieceCount(), 2U);
    EXPECT_EQ(buffer.GetPiece(1, length), big.data());
    ASSERT_TRUE(buffer.Skip(14));
    EXPECT_EQ(buffer.GetAsCStr(0), big.data() + 10);
}
