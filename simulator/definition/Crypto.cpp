#include "Crypto.h"

#include <openssl/bn.h>
#include <openssl/evp.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace CIM::sim
{
namespace
{
constexpr std::size_t BLOCK = 16;

template <auto Free>
struct TFree
{
    template <class T>
    void operator()(T* object) const
    {
        Free(object);
    }
};
using TCipher = std::unique_ptr<EVP_CIPHER_CTX, TFree<EVP_CIPHER_CTX_free>>;
using TNumber = std::unique_ptr<BIGNUM, TFree<BN_free>>;
using TNumberContext = std::unique_ptr<BN_CTX, TFree<BN_CTX_free>>;

bool Run(const EVP_CIPHER* kind, bool encrypts, const TBytes& key, const TBytes& vector, const TBytes& input,
         TBytes& output)
{
    if (input.empty() || input.size() % BLOCK != 0 || key.size() != BLOCK || vector.size() != BLOCK)
    {
        return false;
    }
    const TCipher cipher(EVP_CIPHER_CTX_new());
    TBytes result(input.size() + BLOCK);
    int written = 0;
    int last = 0;
    const bool isDone =
        cipher && EVP_CipherInit_ex(cipher.get(), kind, nullptr, key.data(), vector.data(), encrypts ? 1 : 0) == 1 &&
        EVP_CIPHER_CTX_set_padding(cipher.get(), 0) == 1 &&
        EVP_CipherUpdate(cipher.get(), result.data(), &written, input.data(), static_cast<int>(input.size())) == 1 &&
        EVP_CipherFinal_ex(cipher.get(), result.data() + written, &last) == 1;
    if (isDone)
    {
        result.resize(static_cast<std::size_t>(written + last));
        output = std::move(result);
    }
    return isDone;
}

TBytes Joined(const TBytes& first, const TBytes& second)
{
    TBytes joined = first;
    joined.insert(joined.end(), second.begin(), second.end());
    return joined;
}

TBytes ExponentOf(std::string_view name) { return Sha256(TBytes(name.begin(), name.end())); }

TBytes ComputeDhsk()
{
    const TNumberContext context(BN_CTX_new());
    const TNumber prime(BN_get_rfc3526_prime_2048(nullptr));
    const TBytes host = ExponentOf("host");
    const TBytes module = ExponentOf("module");
    const TNumber x(BN_bin2bn(host.data(), static_cast<int>(host.size()), nullptr));
    const TNumber y(BN_bin2bn(module.data(), static_cast<int>(module.size()), nullptr));
    const TNumber value(BN_new());
    TBytes bytes(256);
    if (!context || !prime || !x || !y || !value || BN_set_word(value.get(), 2) != 1 ||
        BN_mod_exp(value.get(), value.get(), y.get(), prime.get(), context.get()) != 1 ||
        BN_mod_exp(value.get(), value.get(), x.get(), prime.get(), context.get()) != 1 ||
        BN_bn2binpad(value.get(), bytes.data(), static_cast<int>(bytes.size())) < 0)
    {
        throw std::runtime_error("the crypto library cannot compute a Diffie-Hellman value");
    }
    return bytes;
}
} // namespace

TBytes Sha256(const TBytes& input)
{
    TBytes digest(32);
    if (EVP_Digest(input.data(), input.size(), digest.data(), nullptr, EVP_sha256(), nullptr) != 1)
    {
        throw std::runtime_error("the crypto library has no SHA-256");
    }
    return digest;
}

TCCrypto::TCCrypto(TSKeyDefinition keys) : m_keys(std::move(keys))
{
    if (m_keys.dhsk.empty())
    {
        static const TBytes computed = ComputeDhsk();
        m_keys.dhsk = computed;
    }
}

TBytes TCCrypto::DhskMsb() const
{
    return {m_keys.dhsk.begin(),
            m_keys.dhsk.begin() + static_cast<std::ptrdiff_t>(std::min(BLOCK, m_keys.dhsk.size()))};
}

bool TCCrypto::EncryptCbc(const TBytes& input, TBytes& output) const
{
    return Run(EVP_aes_128_cbc(), true, m_keys.sak, m_keys.siv, input, output);
}

bool TCCrypto::DecryptEcb(const TBytes& input, TBytes& output) const
{
    return Run(EVP_aes_128_ecb(), false, m_keys.sek, m_keys.siv, input, output);
}

bool TCCrypto::EncryptCbcWithDhsk(const TBytes& input, TBytes& output) const
{
    return EncryptCbc(Joined(input, m_keys.dhsk), output);
}

bool TCCrypto::Sha256WithDhsk(const TBytes& input, TBytes& output) const
{
    output = Sha256(Joined(input, m_keys.dhsk));
    return true;
}
} // namespace CIM::sim
