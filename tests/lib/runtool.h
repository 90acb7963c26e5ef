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
// capturing what it writes to standard output and standard error.
inline ToolResult runTool(const std::vector<std::string>& args)
{
    QStringList arguments{QStringLiteral("elfdwarfdump")};
    for (const std::string& a : args)
        arguments.append(QString::fromStdString(a));
    char* outBuf = nullptr;
    char* errBuf = nullptr;
    size_t outLen = 0, errLen = 0;
    FILE* out = open_memstream(&outBuf, &outLen);
    FILE* err = open_memstream(&errBuf, &errLen);
    ToolResult r;
    r.status = runElfDwarfDump(arguments, out, err);
    fclose(out);
    fclose(err);
    r.out.assign(outBuf, outLen);
    r.err.assign(errBuf, errLen);
    free(outBuf);
    free(errBuf);
    return r;
}
