#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "qtx/argparse.h"
#include "tests/lib/elfbuilder.h"

namespace {

// A parser with a few options of each kind, recording positional arguments.
class TestParser : public QTx::ArgParse {
public:
    explicit TestParser(QTx::ErrorReporter* r) : QTx::ArgParse(r)
    {
        addFlag("-a", &a, "-a: first flag");
        addFlag("-b", &b, "-b: second flag;-bb: also b;nothing here");
        addValue("-v", &v, "-v 'value': a value");
        addValue("-D", &d, "", Attached);
        addFlag("-late", &late, "", 2);
    }
    void positional(const QString& arg) override { positionals.append(arg); }
    bool a = false, b = false, late = false;
    QString v, d;
    QStringList positionals;
};

struct Captured {
    char* buf = nullptr;
    size_t len = 0;
    FILE* f = open_memstream(&buf, &len);
    ~Captured() { free(buf); }
    std::string text()
    {
        fflush(f);
        return std::string(buf, len);
    }
};

struct Fixture {
    Captured err;
    QTx::ErrorReporter reporter{"prog", err.f};
    TestParser parser{&reporter};
    ~Fixture() { fclose(err.f); }
};

TEST(ArgParse, FlagsValuesAndPositionals)
{
    Fixture fx;
    fx.parser.parse({"-a", "", "in.o", "-v", "x y", "-DNAME=1", "out.txt", "-late"}, 1);
    EXPECT_TRUE(fx.parser.a);
    EXPECT_FALSE(fx.parser.b);
    EXPECT_EQ(fx.parser.v, "x y");
    EXPECT_EQ(fx.parser.d, "NAME=1");
    EXPECT_FALSE(fx.parser.late); // belongs to pass 2
    EXPECT_EQ(fx.parser.positionals, (QStringList{"in.o", "out.txt"}));
    EXPECT_EQ(fx.reporter.count(), 0);
    EXPECT_EQ(fx.err.text(), "");
}

TEST(ArgParse, UnknownOptionsAreAllReported)
{
    Fixture fx;
    fx.parser.parse({"-x", "-a", "-yz"}, 1);
    EXPECT_TRUE(fx.parser.a);
    EXPECT_EQ(fx.reporter.count(), 2);
    EXPECT_EQ(fx.err.text(), "prog: error: unrecognised option -x\nprog: error: unrecognised option -yz\n");
}

TEST(ArgParse, MissingValueStopsTheList)
{
    Fixture fx;
    fx.parser.parse({"-v"}, 1);
    EXPECT_EQ(fx.err.text(), "prog: error: expected argument for option -v\n");
    EXPECT_EQ(fx.reporter.count(), 1);
}

TEST(ArgParse, HelpEntriesSplitAndSort)
{
    Fixture fx;
    const auto entries = fx.parser.helpEntries();
    std::vector<std::string> got;
    for (const auto& [syn, desc] : entries)
        got.push_back(syn.toStdString() + "|" + desc.toStdString());
    EXPECT_EQ(got, (std::vector<std::string>{"-a| first flag", "-b| second flag", "-bb| also b",
                                              "-v 'value'| a value"}));
}

TEST(ArgParse, IndirectFiles)
{
    TempFile inner("-b\n", ".args");
    TempFile outer("# a comment line -x\n-a \"name with spaces.o\"\n@" + inner.path() + "\n-v \"quoted value\"\n",
                   ".args");
    Fixture fx;
    fx.parser.parse({"@" + QString::fromStdString(outer.path())}, 1);
    EXPECT_EQ(fx.err.text(), "");
    EXPECT_TRUE(fx.parser.a);
    EXPECT_TRUE(fx.parser.b);
    EXPECT_EQ(fx.parser.v, "quoted value");
    EXPECT_EQ(fx.parser.positionals, (QStringList{"name with spaces.o"}));
}

TEST(ArgParse, IndirectFileErrors)
{
    TempFile bad("-a\n\"never closed\n-b\n", ".args");
    Fixture fx;
    fx.parser.parse({"@" + QString::fromStdString(bad.path()), "@/nonexistent/args"}, 1);
    EXPECT_TRUE(fx.parser.a);
    EXPECT_TRUE(fx.parser.b); // lines after the bad one are still read
    EXPECT_EQ(fx.err.text(), "prog: error: unterminated string in indirect file " + bad.path() +
                                 "(2)\nprog: error: can't open indirect file /nonexistent/args: "
                                 "No such file or directory\n");
    EXPECT_EQ(fx.reporter.count(), 2);
}

TEST(ArgParse, IndirectFilesThatIncludeThemselvesStop)
{
    // Each level includes itself twice: without a limit this would never end.
    const std::string path = std::string(getenv("TMPDIR") ? getenv("TMPDIR") : "/tmp") + "/edd-self-include.args";
    FILE* f = fopen(path.c_str(), "w");
    fprintf(f, "-a\n@%s\n@%s\n", path.c_str(), path.c_str());
    fclose(f);
    Fixture fx;
    fx.parser.parse({"@" + QString::fromStdString(path)}, 1);
    unlink(path.c_str());
    EXPECT_TRUE(fx.parser.a);
    EXPECT_GT(fx.reporter.count(), 0);
    const std::string text = fx.err.text();
    EXPECT_EQ(text.substr(0, 43), "prog: error: too many indirect files\nprog: ");
}

} // namespace
