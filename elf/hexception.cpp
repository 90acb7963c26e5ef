#include "elf/hexception.h"

static int exceptionCount = 0;

HException::HException(std::string message) : message_(std::move(message))
{
    ++exceptionCount;
}

HException::~HException() = default;

int HException::count()
{
    return exceptionCount;
}
