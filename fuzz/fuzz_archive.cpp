// An `ar` archive through the archive path: the input gets the archive magic, so
// every run reaches the member walk.
#include <vector>

#include "fuzz/fuzzinput.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const char magic[] = "!<arch>\n";
    std::vector<uint8_t> image(magic, magic + 8);
    image.insert(image.end(), data, data + size);
    const std::string& path = Fuzz::inputPath();
    if (!Fuzz::writeInput(path, image.data(), image.size()))
        return 0;
    const QString file = QString::fromStdString(path);
    Fuzz::run({"-header", "-sections", "-symbols", "-relocations", "-ARMAttributes", "-dwarf", "-disassemble", file});
    return 0;
}
