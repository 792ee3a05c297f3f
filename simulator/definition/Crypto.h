#pragma once

#include "Definition.h"

namespace CIM::sim
{
/// The cryptographic operations of SAS sessions, with the keys of the definition. All do real work; the keys are for
/// testing only.
class TCCrypto
{
public:
    /// \param[in] keys  without a DHSK it is computed as 2^(x*y) in the 2048-bit group of RFC 3526, x and y being the
    ///                  SHA-256 of "host" and "module"
    explicit TCCrypto(TSKeyDefinition keys);

    /// The 16 most significant bytes of the DHSK.
    TBytes DhskMsb() const;
    const TBytes& Dhsk() const { return m_keys.dhsk; }

    // Each gives false, and leaves the output alone, when what is to be encrypted or decrypted is empty or no multiple
    // of 16 bytes (SHA-256 takes any length) or a key has a wrong size.
    bool EncryptCbc(const TBytes& input, TBytes& output) const;         ///< AES-128-CBC, SAK, no padding
    bool DecryptEcb(const TBytes& input, TBytes& output) const;         ///< AES-128-ECB, SEK, no padding
    bool EncryptCbcWithDhsk(const TBytes& input, TBytes& output) const; ///< as EncryptCbc, over input and DHSK
    bool Sha256WithDhsk(const TBytes& input, TBytes& output) const;     ///< over input and DHSK

private:
    TSKeyDefinition m_keys;
};

/// The SHA-256 of some bytes.
TBytes Sha256(const TBytes& input);
} // namespace CIM::sim
