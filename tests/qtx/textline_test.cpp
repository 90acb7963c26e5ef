#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdarg>
#include <cstdlib>

#include "qtx/textline.h"

namespace {

std::string render(void (*fill)(QTx::TextLine&))
{
    char* buf = nullptr;
    size_t len = 0;
    FILE* f = open_memstream(&buf, &len);
    {
        QTx::TextLine line(f);
        fill(line);
    }
    fclose(f);
    std::string s(buf, len);
    free(buf);
    return s;
}

std::string printfString(const char* format, ...)
{
    char buf[256];
    va_list ap;
    va_start(ap, format);
    vsnprintf(buf, sizeof buf, format, ap);
    va_end(ap);
    return buf;
}

// The hand-made number formatting must print exactly what printf prints.
TEST(TextLine, NumbersMatchPrintf)
{
    const uint64_t values[] = {0, 1, 9, 10, 15, 16, 255, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x100000000,
                               0x123456789ABCDEF0, UINT64_MAX};
    for (uint64_t v : values) {
        static uint64_t cur;
        cur = v;
        EXPECT_EQ(render([](QTx::TextLine& l) { l.hex(cur); }), printfString("%" PRIX64, cur));
        EXPECT_EQ(render([](QTx::TextLine& l) { l.hex(cur, 8); }), printfString("%08" PRIX64, cur));
        EXPECT_EQ(render([](QTx::TextLine& l) { l.hex(cur, 16); }), printfString("%016" PRIX64, cur));
        EXPECT_EQ(render([](QTx::TextLine& l) { l.hexLower(cur, 8); }), printfString("%08" PRIx64, cur));
        EXPECT_EQ(render([](QTx::TextLine& l) { l.udec(cur); }), printfString("%" PRIu64, cur));
        EXPECT_EQ(render([](QTx::TextLine& l) { l.dec(int64_t(cur)); }), printfString("%" PRId64, int64_t(cur)));
        EXPECT_EQ(render([](QTx::TextLine& l) { l.spaceSignedDec(int64_t(cur), 10); }),
                  printfString("% 10" PRId64, int64_t(cur)));
        EXPECT_EQ(render([](QTx::TextLine& l) { l.spaceSignedDec(int64_t(cur), 20); }),
                  printfString("% 20" PRId64, int64_t(cur)));
    }
    EXPECT_EQ(render([](QTx::TextLine& l) { l.rightAligned("Code", 6); }), "  Code");
    EXPECT_EQ(render([](QTx::TextLine& l) { l.rightAligned("Constant", 6); }), "Constant");
}

TEST(TextLine, LongTextPassesThroughWhole)
{
    static const std::string big(5000, 'x');
    const std::string s = render([](QTx::TextLine& l) { l.str("a").str(big).ch('b'); });
    EXPECT_EQ(s, "a" + big + "b");
}

} // namespace
