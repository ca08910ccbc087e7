// Hashes and signatures against published values, the form of signed addresses and tokens,
// and that no two texts share a safe name.
#include "connection/VaxoSign.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "connection/VaxoSha256.h"
#include "connection/VaxoUploadAddress.h"
#include "connection/VaxoWipe.h"

namespace {

std::string Hex(const VaxoSha256::Digest& digest) {
    std::string text;
    for (const unsigned byte : digest) {
        text += "0123456789abcdef"[byte / 16];
        text += "0123456789abcdef"[byte % 16];
    }
    return text;
}

std::string Sha256(const std::string& message) {
    VaxoSha256 hash;
    hash.Update(message);
    return Hex(hash.Finish());
}

// The bytes that base64url text stands for, in hexadecimal.
std::string HexOfBase64Url(const std::string& text) {
    const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::string hex;
    unsigned bits = 0;
    unsigned count = 0;
    for (const char c : text) {
        bits = (bits << 6U | static_cast<unsigned>(digits.find(c))) & 0xfffU;
        for (count += 6; count >= 4; count -= 4) {
            hex += "0123456789abcdef"[(bits >> (count - 4)) & 15U];
        }
    }
    return hex.substr(0, hex.size() / 2 * 2);
}

std::string HmacHex(const std::string& key, const std::string& message) {
    const std::string text = VaxoHmac(key, message);
    EXPECT_EQ(text.size(), 43U);
    return HexOfBase64Url(text);
}

std::string EveryByte() {
    std::string all;
    for (int i = 0; i < 256; ++i) {
        all += static_cast<char>(i);
    }
    return all;
}

const VaxoSigner s_signer = {42, "key", "bob@home"};

}  // namespace

TEST(VaxoSha256, PublishedMessagesHaveTheirPublishedDigests) {
    EXPECT_EQ(Sha256(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(Sha256("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(Sha256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(Sha256("abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmno"
                     "ijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu"),
              "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1");
    EXPECT_EQ(Sha256(std::string(1000000, 'a')),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(VaxoSha256, AMessageInPiecesHasTheDigestOfTheWhole) {
    const std::string message = EveryByte() + EveryByte();
    for (const std::size_t cut : {0U, 1U, 55U, 56U, 63U, 64U, 65U, 128U, 511U, 512U}) {
        VaxoSha256 hash;
        hash.Update(message.substr(0, cut));
        hash.Update(message.substr(cut));
        EXPECT_EQ(Hex(hash.Finish()), Sha256(message)) << cut;
    }
}

TEST(VaxoWipe, AWipedTextIsEmptyAndItsBytesAreGone) {
    std::string text = "secret";  // in the string's own memory, which stays readable
    const char* const bytes = text.data();
    VaxoWipe(text);
    EXPECT_TRUE(text.empty());
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(bytes[i], '\0');
    }
}

// RFC 4231, in its order; case 5 shows a cut result, which is not in use here.
TEST(VaxoHmac, PublishedKeysAndMessagesHaveTheirPublishedCodes) {
    EXPECT_EQ(HmacHex(std::string(20, '\x0b'), "Hi There"),
              "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7");
    EXPECT_EQ(HmacHex("Jefe", "what do ya want for nothing?"),
              "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
    EXPECT_EQ(HmacHex(std::string(20, '\xaa'), std::string(50, '\xdd')),
              "773ea91e36800e46854db8ebd09181a72959098b3ef8c122d9635514ced565fe");
    EXPECT_EQ(HmacHex(EveryByte().substr(1, 25), std::string(50, '\xcd')),
              "82558a389a443c0ea4cc819899f2083a85f0faa3e578f8077a2e3ff46729665b");
    EXPECT_EQ(
        HmacHex(std::string(131, '\xaa'), "Test Using Larger Than Block-Size Key - Hash Key First"),
        "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54");
    EXPECT_EQ(HmacHex(std::string(131, '\xaa'),
                      "This is a test using a larger than block-size key and a larger than "
                      "block-size data. The key needs to be hashed before being used by the HMAC "
                      "algorithm."),
              "9b09ffa71b942fcb27635fbcd5b0e944bfdc63644f0713938a7f51535c3a35e2");
}

TEST(VaxoHmac, KeysAroundTheLengthOfABlockAreAllDifferent) {
    std::set<std::string> codes;
    for (std::size_t size = 60; size < 70; ++size) {
        codes.insert(VaxoHmac(std::string(size, 'k'), "m"));
    }
    EXPECT_EQ(codes.size(), 10U);
}

TEST(VaxoSafeName, PlainBytesStayAndOthersAreSpelt) {
    EXPECT_EQ(VaxoSafeName("Az09-_"), "Az09-_");
    EXPECT_EQ(VaxoSafeName(""), "~");
    EXPECT_EQ(VaxoSafeName("~"), "~7e");
    EXPECT_EQ(VaxoSafeName("a/b.c d"), "a~2fb~2ec~20d");
    EXPECT_EQ(VaxoSafeName(std::string("\0\xff", 2)), "~00~ff");
}

TEST(VaxoSafeName, NoTwoTextsShareASafeName) {
    // All texts of up to four of these, which could be taken for one another's spelling.
    const std::string alphabet = {'~', '7', 'e', '/', '\0', '\xff'};
    std::vector<std::string> texts = {""};
    for (std::size_t i = 0; texts[i].size() < 4; ++i) {
        for (const char c : alphabet) {
            texts.push_back(texts[i] + c);
        }
    }
    std::set<std::string> names;
    for (const std::string& text : texts) {
        names.insert(VaxoSafeName(text));
    }
    EXPECT_EQ(names.size(), texts.size());
}

TEST(VaxoSafeName, OnlyBytesThatEveryPlaceCanHoldAreInIt) {
    EXPECT_EQ(VaxoSafeName(EveryByte())
                  .find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                     "0123456789-_~"),
              std::string::npos);
}

TEST(VaxoMediaName, AMediaNameIsTheApplicationAndTheSafeStream) {
    EXPECT_EQ(VaxoMediaName(42, "s/1"), "42_s~2f1");
    EXPECT_EQ(VaxoMediaName(4294967295U, ""), "4294967295_~");
}

TEST(VaxoSign, AQuerySignsActionNameUserAndExpiry) {
    const std::string signature = VaxoHmac("key", "publish\n42_s\nbob~40home\n1700000000");
    EXPECT_EQ(VaxoSignQuery(s_signer, "publish", "42_s", 1700000000),
              "id=42&user=bob~40home&exp=1700000000&sig=" + signature);
}

TEST(VaxoSign, ATokenCarriesTheSameSignatureInAPath) {
    const std::string signature = VaxoHmac("key", "play\n42_s\nbob~40home\n1700000000");
    EXPECT_EQ(VaxoSignToken(s_signer, "play", "42_s", 1700000000),
              "42.bob~40home.1700000000." + signature);
}

TEST(VaxoSign, EveryPartChangesTheSignature) {
    const auto sign = [](const VaxoSigner& signer, const char* action, const char* name,
                         long long expiry) {
        const std::string query = VaxoSignQuery(signer, action, name, expiry);
        return query.substr(query.find("&sig="));
    };
    const std::set<std::string> all = {
        sign(s_signer, "play", "a", 1),           sign(s_signer, "publish", "a", 1),
        sign(s_signer, "play", "b", 1),           sign(s_signer, "play", "a", 2),
        sign({42, "key", "bob"}, "play", "a", 1), sign({42, "kez", "bob@home"}, "play", "a", 1)};
    EXPECT_EQ(all.size(), 6U);
}

TEST(VaxoUploadAddress, AnUploadGoesBelowTheAddressOfTheSettings) {
    const VaxoUploadAddress to =
        VaxoAddressOfUpload("http://h:80/up/load", 42, "b b", "logs/x.log");
    EXPECT_EQ(to.address, "http://h:80/up/load/42/b~20b/x.log");
    EXPECT_EQ(to.path, "/up/load/42/b~20b/x.log");
}

TEST(VaxoUploadAddress, AnAddressNeedsNoPathAndMayEndInSlashes) {
    EXPECT_EQ(VaxoAddressOfUpload("https://h", 1, "", "x").path, "/1/~/x");
    EXPECT_EQ(VaxoAddressOfUpload("https://h//", 1, "", "x").address, "https://h/1/~/x");
    EXPECT_EQ(VaxoAddressOfUpload("https://[::1]:8/p/", 1, "", "/x").path, "/p/1/~/x");
}

TEST(VaxoUploadAddress, AFileNameMayHoldAnyBytes) {
    EXPECT_EQ(VaxoAddressOfUpload("http://h", 1, "u", "d/a b?c%#\xc3.log").path,
              "/1/u/a%20b%3Fc%25%23%C3.log");
}

TEST(VaxoUploadAddress, WhatIsNoPlainHttpAddressGivesNone) {
    for (const char* const base :
         {"", "http", "http://", "https:///", "http:///path", "ftp://h/p", "file:///etc/x", "h/p",
          "HTTP", "http://user:word@h/p", "http://h/p?q", "http://h/p#f", "http://h/a b",
          "http://h/\n", "http://h/\x7f", "http://h\\p", " http://h"}) {
        EXPECT_EQ(VaxoAddressOfUpload(base, 1, "u", "x.log").address, "") << base;
    }
}

TEST(VaxoUploadAddress, AFileWithoutANameAndAnAddressTooLongGiveNone) {
    EXPECT_EQ(VaxoAddressOfUpload("http://h", 1, "u", "").address, "");
    EXPECT_EQ(VaxoAddressOfUpload("http://h", 1, "u", "folder/").address, "");
    EXPECT_EQ(VaxoAddressOfUpload("http://h", 1, "u", "..").address, "");
    EXPECT_EQ(VaxoAddressOfUpload("http://h", 1, std::string(3000, 'u'), "x").address, "");
    EXPECT_NE(VaxoAddressOfUpload("http://h", 1, std::string(1000, 'u'), "x").address, "");
}
