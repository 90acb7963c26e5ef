#pragma once
#include <QStringList>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tools/elfdwarfdump/run.h"

struct ToolResult {
    int status = -1;
    std::string out;
    std::string err;
};

// Runs the tool in-process with the given arguments (program name excluded),
// capturing what it writes to standard error and, unless `discardOutput`, to
// standard output (a deep DWARF tree prints gigabytes of indentation).
inline ToolResult runTool(const std::vector<std::string>& args, bool discardOutput = false)
{
    QStringList arguments{QStringLiteral("elfdwarfdump")};
    for (const std::string& a : args)
        arguments.append(QString::fromStdString(a));
    char* outBuf = nullptr;
    char* errBuf = nullptr;
    size_t outLen = 0, errLen = 0;
    FILE* out = discardOutput ? fopen("/dev/null", "w") : open_memstream(&outBuf, &outLen);
    FILE* err = open_memstream(&errBuf, &errLen);
    ToolResult r;
    r.status = runElfDwarfDump(arguments, out, err);
    fclose(out);
    fclose(err);
    if (outBuf)
        r.out.assign(outBuf, outLen);
    r.err.assign(errBuf, errLen);
    free(outBuf);
    free(errBuf);
    return r;
}
