#include "inside/fake_host.h"
#include "inside/heap.h"

#include "support/memory.h"
#include "support/rb_data.h"
#include "support/strings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

using namespace kvt;
using fake::InFreshProcess;
using fake::Offer;

std::string BytesOf(const rbData &view) {
    return view.data ? std::string(reinterpret_cast<const char *>(view.data), view.length) : "(empty)";
}

void OfferStrings() {
    Offer("REALLockString", [](REALstringStruct *string) { ++fake::Of(string).references; });
    Offer("REALUnlockString", [](REALstringStruct *string) {
        if (--fake::Of(string).references == 0)
            fake::log.push_back("the last of " + fake::Of(string).bytes);
    });
    Offer("REALBuildString", [](const char *bytes, std::int32_t length) {
        return fake::NewString(std::string(bytes, static_cast<std::size_t>(length)), 0);
    });
    Offer("REALSetStringEncoding",
          [](REALstringStruct *string, std::uint32_t encoding) { fake::Of(string).encoding = encoding; });
    Offer("REALGetStringEncoding", [](REALstringStruct *string) { return fake::Of(string).encoding; });
    Offer("REALConvertString", [](REALstringStruct *string, std::uint32_t encoding) {
        fake::log.push_back("convert from " + std::to_string(fake::Of(string).encoding));
        return fake::NewString("<" + fake::Of(string).bytes + ">", encoding);
    });
}

void OfferFallback() {
    Offer("StringGetCString", [](REALstringStruct *string) {
        const std::string &bytes = fake::Of(string).bytes;
        return bytes.empty() || bytes == "lost" ? nullptr : bytes.c_str();
    });
    Offer("REALLoadGlobalMethod", [](REALobjectStruct *, const char *) -> void * {
        return reinterpret_cast<void *>(
            +[](REALstringStruct *string) { return static_cast<std::int32_t>(fake::Of(string).bytes.size()); });
    });
}

TEST(Memory, RefusesSizesOutsideItsRange) {
    constexpr long long kLargest = 0x7FFFFFFF;
    for (const long long size : {0LL, -1LL, 1LL, kLargest, kLargest + 1, 1LL << 32, 1LL << 62}) {
        const heap::Grants none(0);
        heap::asked = 0;
        EXPECT_EQ(AllocateClearMemory(size), nullptr) << size;
        EXPECT_EQ(heap::asked, size >= 1 && size <= kLargest ? static_cast<std::size_t>(size) : 0);
    }
    EXPECT_FALSE(ClearBuffer<double>(0x10000000)) << "the size in bytes counts";
    EXPECT_FALSE(ClearBuffer<double>((1LL << 61) + 1)) << "a size beyond 64 bits does not wrap";
}

TEST(View, OfAnOlderHostsStringReadsItsRecord) {
    InFreshProcess([] {
        OfferStrings();
        rbversion_rbversion = 2012.9;
        EXPECT_EQ(BytesOf(rbData(static_cast<REALstringStruct *>(nullptr))), "(empty)");
        REALstringStruct *string = fake::NewString("");
        REALolderString &record = fake::Of(string).record;
        record.storage = "xabc\0d";
        record.length = 5;
        EXPECT_EQ(BytesOf(rbData(string)), std::string("abc\0d", 5)) << "text begins one byte after the storage";
        record.length = -1;
        EXPECT_EQ(BytesOf(rbData(string)), "(empty)");
        record = {};
        record.length = 5;
        EXPECT_EQ(BytesOf(rbData(string)), "(empty)") << "no storage";
        EXPECT_EQ(fake::Of(string).references, 1);
    });
}

TEST(View, OfABlockIsOfAPartOrOfAllOfIt) {
    InFreshProcess([] {
        static char bytes[] = "0123456789abcdef";
        Offer("memoryBlockGetPtr", [](REALmemoryBlockStruct *) { return bytes; });
        Offer("memoryBlockGetSize", [](REALmemoryBlockStruct *) { return std::int32_t{16}; });
        REALmemoryBlockStruct block;
        EXPECT_EQ(BytesOf(rbData(nullptr, 0, 0)), "(empty)");
        EXPECT_EQ(BytesOf(rbData(&block, 8, 4)), "89ab");
        EXPECT_EQ(BytesOf(rbData(&block, 0, 0)), bytes) << "length 0 is the whole block";
    });
}

/// Words of the host's own, which the module carries along.
void *const kOwnWords[2] = {&fake::log, &fake::entries};

TEST(StringData, IsCopiedByTheModuleWhereTheHostCannot) {
    InFreshProcess([] {
        REALstringStruct *string = fake::NewString("abc", kEncodingAscii);
        REALstringStruct *empty = fake::NewString("", kEncodingAscii);
        REALstringData data = {"before", 6, 7, {kOwnWords[0], kOwnWords[1]}};
        const auto copies = [&](REALstringStruct *of, std::uint32_t encoding) {
            const bool copied = REALGetStringData(of, encoding, &data);
            EXPECT_TRUE(std::equal(kOwnWords, kOwnWords + 2, data.unread)) << "neither read nor written";
            return copied;
        };
        EXPECT_FALSE(copies(string, kEncodingNone)) << "no way to the bytes";
        OfferFallback();
        EXPECT_FALSE(copies(nullptr, kEncodingNone));
        EXPECT_FALSE(copies(fake::NewString("lost", kEncodingAscii), kEncodingNone)) << "no address";
        EXPECT_FALSE(copies(string, kEncodingUtf8)) << "and no conversion";
        EXPECT_STREQ(data.bytes, "before") << "as it was, after every failure";
        EXPECT_TRUE(copies(string, 0)) << "a host without encodings counts as encoding 0";
        REALDisposeStringData(&data);

        OfferStrings();
        const struct {
            const char *what;
            REALstringStruct *of;
            std::uint32_t encoding;
            std::string bytes;
        } kCopies[] = {
            {"as stored", string, kEncodingNone, "abc"},
            {"already in that encoding", string, kEncodingAscii, "abc"},
            {"converted", string, kEncodingUtf8, "<abc>"},
            {"empty, without an address", empty, kEncodingNone, ""},
        };
        for (const auto &row : kCopies) {
            SCOPED_TRACE(row.what);
            ASSERT_TRUE(copies(row.of, row.encoding));
            EXPECT_EQ(std::string(data.bytes, row.bytes.size() + 4), row.bytes + std::string(4, '\0'));
            EXPECT_EQ(data.length, static_cast<std::int32_t>(row.bytes.size()));
            EXPECT_EQ(data.encoding, row.encoding);
            REALDisposeStringData(&data);
        }
        EXPECT_EQ(fake::log, (std::vector<std::string>{"convert from 1536", "the last of <abc>"}))
            << "what was converted for the copy is dropped, and nothing else";

        // Who takes copies back gets them all, the module's own too.
        Offer("PluginDisposeStringData", [](REALstringData *given) { fake::log.emplace_back(given->bytes); });
        ASSERT_TRUE(copies(string, kEncodingNone));
        REALDisposeStringData(&data);
        EXPECT_EQ(fake::log.back(), "abc");
        std::free(const_cast<char *>(data.bytes));
    });
}

TEST(BuildString, KeepsBytesDeclaresTheirEncodingAndConvertsWideOnes) {
    InFreshProcess([] {
        for (const std::uint32_t encoding : {kEncodingNone, kEncodingUtf16, kEncodingUtf32})
            EXPECT_EQ(REALBuildUnicodeString("abcd", 4, encoding), nullptr) << "a host that builds none";
        OfferStrings();
        for (const std::int32_t length : {0, -1})
            EXPECT_EQ(REALBuildUnicodeString("abc", length, kEncodingUtf8), nullptr);
        EXPECT_EQ(REALBuildUnicodeString(nullptr, 5, kEncodingUtf8), nullptr);
        const auto expectBuilt = [](const void *bytes, int length, std::uint32_t encoding, const std::string &wanted,
                                    std::uint32_t wantedEncoding) {
            REALstringStruct *built = REALBuildUnicodeString(bytes, length, encoding);
            ASSERT_NE(built, nullptr);
            EXPECT_EQ(fake::Of(built).bytes, wanted);
            EXPECT_EQ(fake::Of(built).encoding, wantedEncoding);
        };
        expectBuilt("a\0b", 3, kEncodingNone, std::string("a\0b", 3), kEncodingNone);
        EXPECT_TRUE(fake::log.empty());
        expectBuilt("a\0b\0", 4, kEncodingUtf16, std::string("<a\0b\0>", 6), kEncodingUtf8);
        EXPECT_EQ(fake::log, (std::vector<std::string>{"convert from 256", std::string("the last of a\0b\0", 16)}));

        // Up to 799 bytes fit the stack's 400; 800 bytes go through the heap; 1 to 3 bytes are no unit at all. Of a
        // unit the low 16 bits are kept.
        for (const int length : {1, 3, 4, 7, 799, 800, 4001}) {
            SCOPED_TRACE(length);
            const auto units = static_cast<std::size_t>(length / 4);
            const std::vector<std::uint32_t> text(units + 1, 0xDEAD00E9u);
            std::string narrow;
            for (std::size_t unit = 0; unit < units; ++unit)
                narrow += std::string("\xE9\0", 2);
            expectBuilt(text.data(), length, kEncodingUtf32, '<' + narrow + '>', kEncodingUtf8);
            EXPECT_EQ(fake::log.back(), "the last of " + narrow) << "what was built for the conversion";
        }
        const heap::Grants none(0);
        const std::uint32_t many[200] = {};
        EXPECT_EQ(REALBuildUnicodeString(many, sizeof many, kEncodingUtf32), nullptr);
        EXPECT_NE(REALBuildUnicodeString(many, 400, kEncodingUtf32), nullptr) << "needs no heap";
    });
}

} // namespace
