#pragma once
#include <string>
#include <string_view>

// The Itanium C++ demangling of a symbol name with its parameter list; empty when
// the name is not a mangled C++ name.
std::string demangleName(std::string_view mangled);
