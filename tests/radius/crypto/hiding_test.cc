#include "quarn/radius/hiding.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "testing/fixed_random.h"
#include "testing/packets.h"

// The expected bytes were computed apart from this library, by the formulas of RFC 2865, section 5.2, and RFC
// 2868, section 3.5. Secret and authenticator are those of RFC 2865, section 7.1.

namespace quarn::subscriber::radius {
namespace {

using test::digits;
using test::hex;
using test::to_hex;
using utils::as_bytes;

constexpr std::string_view secret = "xyzzy5461";
const Authenticator authenticator = test::authenticator_from("0f403f9473978057bd83d5cb98f4227a");
constexpr std::string_view alphabet = "abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstuvwxyz";

std::string hidden_user_password(std::string_view password) {
    return to_hex(encrypt_user_password(as_bytes(password), secret, authenticator));
}

std::string revealed_user_password(std::string_view cipher_digits) {
    return decrypt_user_password(hex(cipher_digits), secret, authenticator);
}

std::string revealed_tunnel_password(std::string_view cipher_digits) {
    return decrypt_tunnel_password(hex(cipher_digits), secret, authenticator);
}

struct Row {
    std::size_t length;  // of the plain text, the beginning of the alphabet
    std::string_view cipher;
};

constexpr Row user_password_rows[] = {
    {1, "0dcc13f9f2ba74ab5fe2e43f782a0aee"},
    {15, "0dae709d97dc13c336888f53154465ee"},
    {16, "0dae709d97dc13c336888f531544659e"},
    {17, "0dae709d97dc13c336888f531544659e 9dfdb37c466ec4f9651aae68ce803b35"},
    {31, "0dae709d97dc13c336888f531544659e 9d8fc0083318b3811c60cf0aade45e35"},
    {32, "0dae709d97dc13c336888f531544659e 9d8fc0083318b3811c60cf0aade45e53"},
    {33,
     "0dae709d97dc13c336888f531544659e 9d8fc0083318b3811c60cf0aade45e53 "
     "741253c6b47229af511a0ec1f3a30673"},
    {48,
     "0dae709d97dc13c336888f531544659e 9d8fc0083318b3811c60cf0aade45e53 "
     "747a3aacdf1e44c13e6a7fb380d77305"},
};

TEST(UserPassword, IsHiddenAsInRfc2865) {
    EXPECT_EQ(hidden_user_password("arctangent"), "0dbe708d93d413ce3196e43f782a0aee");
}

TEST(UserPassword, IsHiddenInBlocksEachChainedOnTheOneBefore) {
    for (const Row& row : user_password_rows) {
        EXPECT_EQ(hidden_user_password(alphabet.substr(0, row.length)), digits(row.cipher)) << row.length;
    }
}

TEST(UserPassword, IsRevealedFromTheSameBytes) {
    for (const Row& row : user_password_rows) {
        EXPECT_EQ(revealed_user_password(row.cipher), alphabet.substr(0, row.length)) << row.length;
    }
}

TEST(UserPassword, TakesAWholeBlockWhenEmpty) {
    EXPECT_EQ(hidden_user_password(""), "6ccc13f9f2ba74ab5fe2e43f782a0aee");
}

TEST(UserPassword, OfZeroBytesOnlyIsRevealedEmpty) {
    EXPECT_EQ(revealed_user_password("6ccc13f9f2ba74ab5fe2e43f782a0aee"), "");
    EXPECT_EQ(revealed_user_password("6ccc13f9f2ba74ab5fe2e43f782a0aee 78afa102138169b5c870c984be7c5af6"),
              "");
}

TEST(UserPassword, IsHiddenToWholeBlocksWithoutAnUpperLimit) {
    for (std::size_t length = 1; length <= 300; ++length) {
        const Bytes plain = test::pattern(length);
        EXPECT_EQ(encrypt_user_password(plain, secret, authenticator).size(), (length + 15) / 16 * 16);
    }
}

TEST(UserPassword, OfMoreThan128BytesIsHiddenWhole) {
    std::string password;
    for (std::size_t i = 0; i < 129; ++i) {
        password += alphabet[i % 26];
    }
    const std::string cipher = hidden_user_password(password);
    EXPECT_EQ(cipher.size(), 2 * 144U);
    EXPECT_EQ(cipher.substr(0, 32), "0dae709d97dc13c336888f531544659e");
    EXPECT_EQ(cipher.substr(256), "5998d257cd3cc12cf78801d445b019d0");
    EXPECT_EQ(revealed_user_password(cipher), password);
}

TEST(UserPassword, LosesTrailingZeroBytes) {
    const std::string_view with_zeros("ab\0\0", 4);
    EXPECT_EQ(hidden_user_password(with_zeros), "0dae13f9f2ba74ab5fe2e43f782a0aee");
    EXPECT_EQ(revealed_user_password("0dae13f9f2ba74ab5fe2e43f782a0aee"), "ab");
}

TEST(UserPassword, LosesTrailingZeroBytesOfMoreThanOneBlock) {
    std::string password = "ab";
    password.resize(40);
    EXPECT_EQ(revealed_user_password(hidden_user_password(password)), "ab");
}

TEST(UserPassword, KeepsZeroBytesInside) {
    const std::string_view with_zero("a\0b", 3);
    EXPECT_EQ(hidden_user_password(with_zero), "0dcc71f9f2ba74ab5fe2e43f782a0aee");
    EXPECT_EQ(revealed_user_password("0dcc71f9f2ba74ab5fe2e43f782a0aee"), with_zero);
}

TEST(UserPassword, IsEmptyWhenTheCipherIsNoWholeNumberOfBlocks) {
    for (std::size_t length = 0; length <= 80; ++length) {
        const Bytes cipher = test::pattern(length);
        const bool whole = length > 0 && length % 16 == 0;
        EXPECT_EQ(decrypt_user_password(cipher, secret, authenticator).empty(), !whole) << length;
    }
}

TEST(UserPassword, IsGarbageWithAWrongSecretOrAuthenticator) {
    const Bytes cipher = hex("0dbe708d93d413ce3196e43f782a0aee");
    EXPECT_EQ(decrypt_user_password(cipher, secret, authenticator), "arctangent");
    const std::string wrong_secret = decrypt_user_password(cipher, "xyzzy5462", authenticator);
    EXPECT_EQ(to_hex(as_bytes(wrong_secret)), "00f95c616ae56558f4100c9b265df14b");
    const std::string wrong_authenticator = decrypt_user_password(cipher, secret, ZERO16);
    EXPECT_EQ(to_hex(as_bytes(wrong_authenticator)), "10f3d2b2814458e0a903c88c073c355f");
}

TEST(UserPassword, MayBeHiddenWithAnEmptySecret) {
    EXPECT_EQ(to_hex(encrypt_user_password(as_bytes("abc"), "", authenticator)),
              "fa97af4702852e889474d1dd51c0edb9");
}

// All with the salt 8102.
constexpr Row tunnel_password_rows[] = {
    {0, "8102 48ee0c6bedbec84fa90b71cd94fda019"},
    {1, "8102 498f0c6bedbec84fa90b71cd94fda019"},
    {14, "8102 468f6e0889dbae28c1621ba6f890ce19"},
    {15, "8102 478f6e0889dbae28c1621ba6f890ce76"},
    {16, "8102 588f6e0889dbae28c1621ba6f890ce76 7e6ec5fcd53ec53753a55bfbd1c27986"},
    {31, "8102 578f6e0889dbae28c1621ba6f890ce76 d174a5c1c18906023e7e157fe083c290"},
    {32,
     "8102 688f6e0889dbae28c1621ba6f890ce76 9936fd99a5a31a37a0b008fdebe737b3 "
     "4c3b80732a8d853550c2f5c4c920ac91"},
    {47,
     "8102 678f6e0889dbae28c1621ba6f890ce76 dbb967d5880c0a35e55887019df61792 "
     "b04700125c7e3ac503a0e2e422487d6b"},
};

TEST(TunnelPassword, IsHiddenBehindItsSaltWithItsLengthInFront) {
    for (const Row& row : tunnel_password_rows) {
        const test::FixedRandom random(0x01);  // the top bit of a salt is set anyway
        EXPECT_EQ(
            to_hex(encrypt_tunnel_password(as_bytes(alphabet.substr(0, row.length)), secret, authenticator)),
            digits(row.cipher))
            << row.length;
    }
}

TEST(TunnelPassword, DrawsAFreshSaltForEachValue) {
    const test::FixedRandom random(0x81);
    const Bytes first = encrypt_tunnel_password(as_bytes("abc"), secret, authenticator);
    const Bytes second = encrypt_tunnel_password(as_bytes("abc"), secret, authenticator);
    EXPECT_EQ(test::hex_part(first, 0, 2), "8182");
    EXPECT_EQ(test::hex_part(second, 0, 2), "8384");
    EXPECT_NE(test::hex_part(first, 2, 16), test::hex_part(second, 2, 16));
}

TEST(TunnelPassword, IsRevealedFromTheSameBytes) {
    for (const Row& row : tunnel_password_rows) {
        EXPECT_EQ(revealed_tunnel_password(row.cipher), alphabet.substr(0, row.length)) << row.length;
    }
}

TEST(TunnelPassword, TakesTheSaltAndWholeBlocksForLengthAndValue) {
    for (std::size_t length = 0; length <= 300; ++length) {
        const Bytes plain = test::pattern(length);
        EXPECT_EQ(encrypt_tunnel_password(plain, secret, authenticator).size(), 2 + (length + 16) / 16 * 16);
    }
}

TEST(TunnelPassword, KeepsTrailingZeroBytes) {
    const std::string_view with_zeros("ab\0\0", 4);
    const Bytes wire = encrypt_tunnel_password(as_bytes(with_zeros), secret, authenticator);
    EXPECT_EQ(decrypt_tunnel_password(wire, secret, authenticator), with_zeros);
}

TEST(TunnelPassword, OfEveryLengthThatItsLengthByteCanTellComesBack) {
    for (std::size_t length = 0; length <= 255; ++length) {
        const Bytes plain = test::pattern(length);
        const Bytes wire = encrypt_tunnel_password(plain, secret, authenticator);
        ASSERT_EQ(decrypt_tunnel_password(wire, secret, authenticator), utils::to_text(plain)) << length;
    }
}

TEST(TunnelPassword, Of256BytesAndMoreKeepsTheLowByteOfItsLength) {
    const Bytes plain = test::pattern(300);
    const Bytes wire = encrypt_tunnel_password(plain, secret, authenticator);
    EXPECT_EQ(wire.size(), 2 + 304U);
    EXPECT_EQ(decrypt_tunnel_password(wire, secret, authenticator),
              utils::to_text(byte_span(plain).first(300 - 256)));
    EXPECT_EQ(decrypt_tunnel_password(encrypt_tunnel_password(test::pattern(256), secret, authenticator),
                                      secret, authenticator),
              "");
}

TEST(TunnelPassword, IsRevealedFromASaltAndOneBlockButFromNoByteLess) {
    EXPECT_EQ(revealed_tunnel_password("8102 478f6e0889dbae28c1621ba6f890ce76"), "abcdefghijklmno");
    EXPECT_EQ(revealed_tunnel_password("8102 478f6e0889dbae28c1621ba6f890ce"), "");
}

TEST(TunnelPassword, IsEmptyWithoutASaltAndAWholeNumberOfBlocks) {
    for (std::size_t length = 0; length <= 80; ++length) {
        Bytes cipher = test::pattern(length);
        const bool whole = length > 2 && (length - 2) % 16 == 0;
        const std::string text = decrypt_tunnel_password(cipher, secret, authenticator);
        if (!whole) {
            EXPECT_EQ(text, "") << length;
        }
    }
}

TEST(TunnelPassword, WhoseLengthByteClaimsOneByteTooManyIsEverythingBehindIt) {
    EXPECT_EQ(revealed_tunnel_password("8102 588f6e0889dbae28c1621ba6f890ce76"), "abcdefghijklmno");
}

TEST(TunnelPassword, WhoseLengthByteClaimsTheMaximumIsEverythingBehindItPaddingIncluded) {
    EXPECT_EQ(revealed_tunnel_password("8102 b78f6e08edbec84fa90b71cd94fda019"),
              std::string("abc") + std::string(12, '\0'));
}

TEST(TunnelPassword, OfTwoBlocksWhoseLengthByteClaims32IsThe31BytesBehindIt) {
    std::string expected;
    for (char byte = 1; byte < 32; ++byte) {
        expected += byte;
    }
    EXPECT_EQ(
        revealed_tunnel_password("8102 68ef0e68e9bbce48a1027bc698f0ae16 6425054df6036a578b6bcb0cdbd8557a"),
        expected);
}

TEST(TunnelPassword, EndsWhereItsLengthByteSaysWhateverFollows) {
    EXPECT_EQ(revealed_tunnel_password("8102 4b8f6e0889dbae28c1621ba6f890ce76"), "abc");
}

TEST(TunnelPassword, IsRevealedWhateverTheTopBitOfItsSalt) {
    EXPECT_EQ(revealed_tunnel_password("0102 9973241d28bbdf1e6a115fe0712dd02e"), "abc");
}

TEST(TunnelPassword, DependsOnItsSalt) {
    EXPECT_NE(revealed_tunnel_password("8103 478f6e0889dbae28c1621ba6f890ce76"), "abcdefghijklmno");
}

TEST(TunnelPassword, CannotBeHiddenWithoutRandomBytes) {
    const test::NoRandom none;
    try {
        encrypt_tunnel_password(as_bytes("abc"), secret, authenticator);
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "random_salt: RAND_bytes failed (CSPRNG unavailable)");
    }
}

TEST(DecryptLeaf, RevealsMethod1) {
    EXPECT_EQ(utils::as_text(decrypt_leaf(hex("0dbe708d93d413ce3196e43f782a0aee"), 1, secret, authenticator)),
              "arctangent");
}

TEST(DecryptLeaf, RevealsMethod2) {
    EXPECT_EQ(
        utils::as_text(decrypt_leaf(hex("8102 478f6e0889dbae28c1621ba6f890ce76"), 2, secret, authenticator)),
        "abcdefghijklmno");
}

TEST(DecryptLeaf, LeavesTheBytesOfEveryOtherMethodAlone) {
    const Bytes bytes = hex("0dbe708d93d413ce3196e43f782a0aee");
    for (const std::uint32_t method : {0U, 3U, 4U, 255U, 256U, 257U, 4294967295U}) {
        EXPECT_EQ(decrypt_leaf(bytes, method, secret, authenticator), bytes) << method;
    }
}

TEST(DecryptLeaf, LeavesEverythingAloneWithoutASecret) {
    const Bytes bytes = hex("0dbe708d93d413ce3196e43f782a0aee");
    for (const std::uint32_t method : {0U, 1U, 2U, 3U}) {
        EXPECT_EQ(decrypt_leaf(bytes, method, "", authenticator), bytes) << method;
        EXPECT_EQ(decrypt_leaf(hex("01"), method, "", authenticator), hex("01")) << method;
    }
}

TEST(DecryptLeaf, GivesNothingForLengthsThatHidingNeverMakes) {
    EXPECT_EQ(decrypt_leaf(test::pattern(15), 1, secret, authenticator), Bytes());
    EXPECT_EQ(decrypt_leaf(test::pattern(33), 1, secret, authenticator), Bytes());
    EXPECT_EQ(decrypt_leaf({}, 1, secret, authenticator), Bytes());
    EXPECT_EQ(decrypt_leaf(test::pattern(17), 2, secret, authenticator), Bytes());
    EXPECT_EQ(decrypt_leaf(test::pattern(19), 2, secret, authenticator), Bytes());
    EXPECT_EQ(decrypt_leaf({}, 2, secret, authenticator), Bytes());
}

TEST(IsHidden, HoldsForMethods1And2Alone) {
    EXPECT_FALSE(is_hidden(0));
    EXPECT_TRUE(is_hidden(1));
    EXPECT_TRUE(is_hidden(2));
    EXPECT_FALSE(is_hidden(3));
    EXPECT_FALSE(is_hidden(4294967295));
}

}  // namespace
}  // namespace quarn::subscriber::radius
