#pragma once
#include <cstdint>
#include <cstdio>

#include "dwarf/dwarfcursor.h"

namespace QTx {
class TextLine;
}

// Prints the operations of a DWARF expression in one line, "; " between them.
// `addressSize` is that of the unit: DW_OP_addr takes 4 bytes for it when 4, else 8.
void printDwarfExpression(QTx::TextLine& out, DwarfCursor expression, uint8_t addressSize);
void printDwarfExpression(FILE* out, DwarfCursor expression, uint8_t addressSize);
