#include "hdiutil/volume/HfsNames.h"

#include <array>
#include <cstdint>

namespace hdi::hfs {

namespace {

// Units `first` to `last`, every `step`th, are compared as themselves plus `shift`.
struct Range {
    char16_t first;
    char16_t last;
    char16_t step;
    int shift;
};

// The differences between TN1150's lower-case table and identity. The table is frozen: later versions of Unicode do
// not count, nor do letters that are always stored decomposed.
constexpr Range kRanges[] = {
    {0x0041, 0x005A, 1, 32},  {0x00C6, 0x00C6, 1, 32},  {0x00D0, 0x00D0, 1, 32},  {0x00D8, 0x00D8, 1, 32},
    {0x00DE, 0x00DE, 1, 32},  {0x0110, 0x0110, 1, 1},   {0x0126, 0x0126, 1, 1},   {0x0132, 0x0132, 1, 1},
    {0x013F, 0x0141, 2, 1},   {0x014A, 0x014A, 1, 1},   {0x0152, 0x0152, 1, 1},   {0x0166, 0x0166, 1, 1},
    {0x0181, 0x0181, 1, 210}, {0x0182, 0x0184, 2, 1},   {0x0186, 0x0186, 1, 206}, {0x0187, 0x0187, 1, 1},
    {0x0189, 0x018A, 1, 205}, {0x018B, 0x018B, 1, 1},   {0x018E, 0x018E, 1, 79},  {0x018F, 0x018F, 1, 202},
    {0x0190, 0x0190, 1, 203}, {0x0191, 0x0191, 1, 1},   {0x0193, 0x0193, 1, 205}, {0x0194, 0x0194, 1, 207},
    {0x0196, 0x0196, 1, 211}, {0x0197, 0x0197, 1, 209}, {0x0198, 0x0198, 1, 1},   {0x019C, 0x019C, 1, 211},
    {0x019D, 0x019D, 1, 213}, {0x019F, 0x019F, 1, 214}, {0x01A2, 0x01A4, 2, 1},   {0x01A7, 0x01A7, 1, 1},
    {0x01A9, 0x01A9, 1, 218}, {0x01AC, 0x01AC, 1, 1},   {0x01AE, 0x01AE, 1, 218}, {0x01B1, 0x01B2, 1, 217},
    {0x01B3, 0x01B5, 2, 1},   {0x01B7, 0x01B7, 1, 219}, {0x01B8, 0x01B8, 1, 1},   {0x01BC, 0x01BC, 1, 1},
    {0x01C4, 0x01C4, 1, 2},   {0x01C5, 0x01C5, 1, 1},   {0x01C7, 0x01C7, 1, 2},   {0x01C8, 0x01C8, 1, 1},
    {0x01CA, 0x01CA, 1, 2},   {0x01CB, 0x01CB, 1, 1},   {0x01E4, 0x01E4, 1, 1},   {0x01F1, 0x01F1, 1, 2},
    {0x01F2, 0x01F2, 1, 1},   {0x0391, 0x03A1, 1, 32},  {0x03A3, 0x03A9, 1, 32},  {0x03E2, 0x03EE, 2, 1},
    {0x0402, 0x0402, 1, 80},  {0x0404, 0x0406, 1, 80},  {0x0408, 0x040B, 1, 80},  {0x040F, 0x040F, 1, 80},
    {0x0410, 0x0418, 1, 32},  {0x041A, 0x042F, 1, 32},  {0x0460, 0x0474, 2, 1},   {0x0478, 0x0480, 2, 1},
    {0x0490, 0x04BE, 2, 1},   {0x04C3, 0x04C3, 1, 1},   {0x04C7, 0x04C7, 1, 1},   {0x04CB, 0x04CB, 1, 1},
    {0x0531, 0x0556, 1, 48},  {0x10A0, 0x10C5, 1, 48},  {0x2160, 0x216F, 1, 16},  {0xFF21, 0xFF3A, 1, 32},
};

constexpr Range kIgnored[] = {
    {0x200C, 0x200F, 1, 0}, {0x202A, 0x202E, 1, 0}, {0x206A, 0x206F, 1, 0}, {0xFEFF, 0xFEFF, 1, 0}};

std::array<char16_t, 0x10000> makeTable() {
    std::array<char16_t, 0x10000> table{};
    for (std::uint32_t unit = 0; unit < table.size(); ++unit) {
        table[unit] = static_cast<char16_t>(unit);
    }
    for (const Range& range : kRanges) {
        for (std::uint32_t unit = range.first; unit <= range.last; unit += range.step) {
            table[unit] = static_cast<char16_t>(static_cast<int>(unit) + range.shift);
        }
    }
    for (const Range& range : kIgnored) {
        for (std::uint32_t unit = range.first; unit <= range.last; ++unit) {
            table[unit] = 0;
        }
    }
    table[0] = 0xFFFF; // a NUL sorts last; 0 is what ignored units have
    return table;
}

} // namespace

char16_t foldCase(char16_t unit) {
    static const std::array<char16_t, 0x10000> table = makeTable();
    return table[unit];
}

} // namespace hdi::hfs
