#include <gtest/gtest.h>

#include <cstring>

#include "elf/ararchive.h"

namespace {

// Writes `ar` members: 60-byte headers with space-padded fields, even alignment.
struct ArWriter {
    std::vector<uint8_t> bytes = std::vector<uint8_t>(magic, magic + 8);
    static constexpr char magic[] = "!<arch>\n";
    uint64_t add(const std::string& name, const std::string& data)
    {
        const uint64_t at = bytes.size();
        char header[61];
        snprintf(header, sizeof header, "%-16s%-12s%-6s%-6s%-8s%-10zu`\n", name.c_str(), "0", "0", "0", "644",
                 data.size());
        bytes.insert(bytes.end(), header, header + 60);
        bytes.insert(bytes.end(), data.begin(), data.end());
        if (data.size() % 2)
            bytes.push_back('\n');
        return at;
    }
};

std::string be32(uint32_t v)
{
    return std::string{char(v >> 24), char(v >> 16), char(v >> 8), char(v)};
}

TEST(ArArchive, IndexLongNamesAndMembers)
{
    ArWriter w;
    // Offsets are filled in after the members are placed: build twice.
    std::string longNames = "a_rather_long_member_name.o/\nanother_long_member_name.o/\n";
    for (int pass = 0; pass < 2; ++pass) {
        static uint64_t off1, off2, off3;
        ArWriter a;
        std::string index = be32(4) + be32(uint32_t(off2)) + be32(uint32_t(off1)) + be32(uint32_t(off3)) +
                            be32(uint32_t(off1)) + std::string("zeta\0alpha\0mid\0alpha\0", 21);
        a.add("/", index);
        a.add("//", longNames);
        off1 = a.add("/0", "ODD");
        off2 = a.add("short.o/", "EVEN");
        off3 = a.add("/29", "X");
        w = a;
        if (pass == 1) {
            ArArchive ar;
            std::string error;
            ASSERT_TRUE(ar.parse(w.bytes.data(), w.bytes.size(), &error)) << error;
            ASSERT_EQ(ar.members().size(), 3u);
            EXPECT_EQ(ar.members()[0].name, "a_rather_long_member_name.o");
            EXPECT_EQ(ar.members()[0].headerOffset, off1);
            EXPECT_EQ(std::string(reinterpret_cast<const char*>(ar.members()[0].data), ar.members()[0].size), "ODD");
            EXPECT_EQ(ar.members()[1].name, "short.o");
            EXPECT_EQ(ar.members()[1].headerOffset, off2); // after the padding newline
            EXPECT_EQ(ar.members()[2].name, "another_long_member_name.o");
            std::vector<std::string> names;
            std::vector<uint64_t> offsets;
            for (const auto& e : ar.index()) {
                names.emplace_back(e.name);
                offsets.push_back(e.memberOffset);
            }
            EXPECT_EQ(names, (std::vector<std::string>{"alpha", "alpha", "mid", "zeta"}));
            EXPECT_EQ(offsets, (std::vector<uint64_t>{off1, off1, off3, off2}));
        }
    }
}

TEST(ArArchive, BadNames)
{
    struct Row {
        const char* name;
        const char* error;
    } rows[] = {
        {"/9999", "invalid long names table offset 9999\n"},
        {"/28", "invalid long names table offset 28\n"}, // exactly the table size
        {"no_slash_at_all", "invalid archive file name\n"},
    };
    for (const Row& r : rows) {
        ArWriter w;
        w.add("//", "a_rather_long_member_name.o/");
        w.add(r.name, "data");
        ArArchive ar;
        std::string error;
        EXPECT_FALSE(ar.parse(w.bytes.data(), w.bytes.size(), &error)) << r.name;
        EXPECT_EQ(error, r.error);
    }
}

TEST(ArArchive, DamagedIndexAndShortFile)
{
    ArWriter w;
    w.add("/", be32(0x40000000) + "x"); // a count far beyond the member
    w.add("m.o/", "12345678");
    std::vector<uint8_t> bytes = w.bytes;
    bytes.erase(bytes.end() - 3, bytes.end()); // the last member claims more than is there
    ArArchive ar;
    std::string error;
    ASSERT_TRUE(ar.parse(bytes.data(), bytes.size(), &error));
    EXPECT_TRUE(ar.index().empty());
    ASSERT_EQ(ar.members().size(), 1u);
    EXPECT_EQ(ar.members()[0].size, 5u);
    EXPECT_FALSE(ArArchive::isArchive(bytes.data(), 7));
}

} // namespace
