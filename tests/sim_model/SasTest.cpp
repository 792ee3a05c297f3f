#include "Recorder.h"

#include "simulator/definition/Crypto.h"

#include <gtest/gtest.h>

using testing::ElementsAre;

namespace CIM::sim
{
namespace
{
TBytes Hex(std::string_view digits)
{
    TBytes bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
    {
        bytes.push_back(static_cast<unsigned char>(std::stoul(std::string(digits.substr(i, 2)), nullptr, 16)));
    }
    return bytes;
}

unsigned short Connected(TCRecorder& recorder, unsigned long long application)
{
    unsigned short session = 0;
    EXPECT_EQ(recorder.model.Of<ICIGeneral>().ConnectToSasApplication(application, session), 1);
    recorder.Advance(20);
    return session;
}
} // namespace

TEST(SimSas, SessionsConnectOrAreDenied)
{
    TCRecorder recorder;
    MakeReady(recorder);
    ICIGeneral& general = recorder.model.Of<ICIGeneral>();
    unsigned short session = 0;
    EXPECT_EQ(general.ConnectToSasApplication(2, session), 1);
    EXPECT_EQ(general.SendSasData(session, {1}), 0) << "not connected yet";
    recorder.Advance(20);
    EXPECT_EQ(general.SendSasData(session, {1}), 1);
    Connected(recorder, 2);
    Connected(recorder, 99);
    EXPECT_THAT(recorder.Take(), ElementsAre("1500 SAS_STATUS_CHANGE slot 0 code 0 id 1 value 0",
                                             "1520 SAS_STATUS_CHANGE slot 0 code 2 id 1 value 0",
                                             "1520 SAS_STATUS_CHANGE slot 0 code 3 id 1 value 1",
                                             "1520 SAS_STATUS_CHANGE slot 0 code 0 id 2 value 0",
                                             "1540 SAS_STATUS_CHANGE slot 0 code 2 id 2 value 2",
                                             "1540 SAS_STATUS_CHANGE slot 0 code 0 id 3 value 0",
                                             "1560 SAS_STATUS_CHANGE slot 0 code 2 id 3 value 1"))
        << "connected with a greeting, too many, no such application";
    EXPECT_EQ(general.SendSasData(2, {1}), 0);
}

TEST(SimSas, MessagesQueueInOrder)
{
    TCRecorder recorder;
    MakeReady(recorder);
    ICIGeneral& general = recorder.model.Of<ICIGeneral>();
    const unsigned short echo = Connected(recorder, 1);
    const TBytes first = {'a', 0, 'b'};
    const TBytes large(65'536, 0x5A);
    for (const TBytes& message : {first, TBytes(), large, TBytes{4}})
    {
        EXPECT_EQ(general.SendSasData(echo, message), 1);
    }
    EXPECT_EQ(general.SendSasData(echo, TBytes(65'537)), 0);
    recorder.Advance(20);
    TBytes data = {9};
    EXPECT_EQ(general.GetSasData(echo, 3, data), 1);
    EXPECT_EQ(data, large) << "one asked for by its number";
    EXPECT_EQ(general.GetSasData(echo, 3, data), 0) << "each is fetched once";
    EXPECT_EQ(general.GetSasData(echo, 0, data), 1);
    EXPECT_EQ(data, first);
    EXPECT_EQ(general.GetSasData(echo, 0, data), 1);
    EXPECT_TRUE(data.empty());
    EXPECT_EQ(general.GetSasData(echo, 0, data), 1);
    EXPECT_EQ(data, TBytes{4});
    EXPECT_EQ(general.GetSasData(echo, 0, data), 0);

    for (int i = 0; i < 1'100; ++i)
    {
        ASSERT_TRUE(recorder.Do("sas-send", {{"application", 1}, {"data", "00"}}));
    }
    EXPECT_EQ(recorder.model.State()["sas"][0]["lost"], 76) << "a slow reader loses the newest, and it is counted";
}

TEST(SimSas, CryptographyAgreesWithKnownVectors)
{
    TCRecorder recorder;
    MakeReady(recorder);
    ICIGeneral& general = recorder.model.Of<ICIGeneral>();
    TBytes out = {1};
    EXPECT_EQ(general.EncryptUsingAesCbcWithSAK(1, TBytes(16), out), 0) << "no session";
    const unsigned short session = Connected(recorder, 1);
    // NIST SP 800-38A, F.2.1, first two blocks.
    EXPECT_EQ(general.EncryptUsingAesCbcWithSAK(
                  session, Hex("6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"), out),
              1);
    EXPECT_EQ(out, Hex("7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"));
    // FIPS 197, C.1.
    EXPECT_EQ(general.DecryptUsingAesEcbWithSEK(session, Hex("69c4e0d86a7b0430d8cdb78070b4c55a"), out), 1);
    EXPECT_EQ(out, Hex("00112233445566778899aabbccddeeff"));
    for (const std::size_t size : {0, 15, 17})
    {
        EXPECT_EQ(general.EncryptUsingAesCbcWithSAK(session, TBytes(size), out), 0) << size;
        EXPECT_EQ(general.DecryptUsingAesEcbWithSEK(session, TBytes(size), out), 0) << size;
    }
    EXPECT_EQ(out, Hex("00112233445566778899aabbccddeeff")) << "untouched";
    EXPECT_EQ(general.EncryptUsingAesCbcWithSAKConcatDHSK(session, TBytes(5), out), 0);

    // With a DHSK of "c", the digest over "ab" is FIPS 180's of "abc"; with one block, CBC runs on over it.
    TSSetDefinition set = DefaultSet();
    set.keys.dhsk = {'c'};
    const TCCrypto known(set.keys);
    ASSERT_TRUE(known.Sha256WithDhsk({'a', 'b'}, out));
    EXPECT_EQ(out, Hex("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"));
    set.keys.dhsk = Hex("ae2d8a571e03ac9c9eb76fac45af8e51");
    ASSERT_TRUE(TCCrypto(set.keys).EncryptCbcWithDhsk(Hex("6bc1bee22e409f96e93d7e117393172a"), out));
    EXPECT_EQ(out, Hex("7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"));

    EXPECT_EQ(general.GetDiffHellMsb(session, out), 1);
    const TCCrypto computed{TSKeyDefinition()};
    EXPECT_EQ(computed.Dhsk().size(), 256u);
    EXPECT_EQ(out, TBytes(computed.Dhsk().begin(), computed.Dhsk().begin() + 16));
}
} // namespace CIM::sim
