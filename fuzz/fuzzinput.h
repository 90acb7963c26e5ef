#pragma once
// What the file-driven fuzz targets share: the input written to a file of its own
// (the tool reads paths), and the tool run in-process with its output thrown away.
#include <QStringList>
#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>

#include "tools/elfdwarfdump/run.h"

namespace Fuzz {

// One file per process, rewritten for every input. In memory where the machine has
// a memory file system: the patch options save with fsync, which on a disk makes the
// fuzzer wait more than it runs.
inline const std::string& inputPath()
{
    static const std::string path = [] {
        std::string pattern = access("/dev/shm", W_OK) == 0 ? "/dev/shm/edd-fuzz-XXXXXX" : "/tmp/edd-fuzz-XXXXXX";
        char* name = pattern.data();
        const int fd = mkstemp(name);
        if (fd >= 0)
            close(fd);
        return std::string(name);
    }();
    return path;
}

inline bool writeInput(const std::string& path, const uint8_t* data, size_t size)
{
    FILE* f = fopen(path.c_str(), "wb");
    if (!f)
        return false;
    const bool ok = fwrite(data, 1, size, f) == size;
    return fclose(f) == 0 && ok;
}

inline int run(const QStringList& options)
{
    static FILE* devNull = fopen("/dev/null", "w");
    QStringList arguments{QStringLiteral("elfdwarfdump")};
    arguments += options;
    const int status = runElfDwarfDump(arguments, devNull, devNull);
    // Only the two statuses the tool knows: a crash or a stray value is a fault.
    if (status != 0 && status != 1)
        __builtin_trap();
    return status;
}

} // namespace Fuzz
