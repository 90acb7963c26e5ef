#include "dwarf/sourceaddressmap.h"

#include "qtx/textline.h"

#include <algorithm>

void SourceAddressMap::add(std::string_view file, int32_t line, uint64_t address)
{
    if (lastFile_ >= files_.size() || files_[lastFile_].name != file) {
        const auto found = fileIndex_.find(file);
        if (found != fileIndex_.end()) {
            lastFile_ = found->second;
        } else {
            lastFile_ = uint32_t(files_.size());
            files_.push_back(SourceFile{std::string(file), {}});
            fileIndex_.emplace(std::string(file), lastFile_);
        }
    }
    files_[lastFile_].lines.push_back(LineEntry{line, address});
    if (!addresses_.empty() && address < addresses_.back().address)
        sorted_ = false;
    addresses_.push_back(AddressEntry{address, line, lastFile_});
}

const std::vector<SourceAddressMap::AddressEntry>& SourceAddressMap::addresses() const
{
    // Sorted on first use: the line programs add rows sequence by sequence, and the
    // order of rows at one address is the order the programs gave them.
    if (!sorted_) {
        std::stable_sort(addresses_.begin(), addresses_.end(),
                         [](const AddressEntry& a, const AddressEntry& b) { return a.address < b.address; });
        sorted_ = true;
    }
    return addresses_;
}

std::optional<SourceAddressMap::Match> SourceAddressMap::lookup(uint64_t address, uint64_t lowest,
                                                                uint64_t highest) const
{
    const std::vector<AddressEntry>& all = addresses();
    const auto next = std::upper_bound(all.begin(), all.end(), address,
                                       [](uint64_t a, const AddressEntry& e) { return a < e.address; });
    if (next == all.begin())
        return std::nullopt;
    const AddressEntry& at = *(next - 1);
    const bool hasNext = next != all.end();
    if (at.address >= lowest && at.address <= highest) {
        // next->address is above `address`, hence above at.address: no wrap.
        const uint64_t high = hasNext && next->address - 1 < highest ? next->address - 1 : highest;
        return Match{files_[at.file].name, at.line, at.address, high};
    }
    if (hasNext && next->address >= lowest && next->address <= highest)
        return Match{files_[next->file].name, next->line, lowest, next->address - 1};
    return std::nullopt;
}

void SourceAddressMap::print(FILE* stream) const
{
    QTx::TextLine out(stream);
    out.str("Addresses:\n");
    for (const AddressEntry& e : addresses())
        out.str("0x").hexLower(e.address).ch(' ').dec(e.line).ch(' ').str(files_[e.file].name).ch('\n');
    out.str("Sources:\n");
    for (const SourceFile& f : files_) {
        out.str("File: ").str(f.name).ch('\n');
        for (const LineEntry& l : f.lines)
            out.str("Line: ").dec(l.line).str(" 0x").hexLower(l.address).ch('\n');
    }
}
