// The indirect-file parser: the input is an @file, which may name other files in
// the working directory (run-fuzz.sh gives each target a scratch one).
#include <cstring>

#include "fuzz/fuzzinput.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // A second file name is the output file: no paths, so nothing is written outside
    // the scratch directory.
    if (memchr(data, '/', size))
        return 0;
    const std::string& path = Fuzz::inputPath();
    if (!Fuzz::writeInput(path, data, size))
        return 0;
    Fuzz::run({QStringLiteral("@") + QString::fromStdString(path)});
    return 0;
}
