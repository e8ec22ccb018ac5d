#pragma once

#include <QtGlobal>

#include <array>

// Fax rows keep the leftmost pixel in the top bit of a byte, while the SSE2 movemask
// instructions give it in the lowest: the packers turn each byte round through this table.
namespace BitOrder {

inline constexpr std::array<uchar, 256> reversedBits = [] {
    std::array<uchar, 256> table{};
    for (int b = 0; b < 256; ++b)
        for (int i = 0; i < 8; ++i)
            if (b & (1 << i))
                table[size_t(b)] = uchar(table[size_t(b)] | 0x80 >> i);
    return table;
}();

inline uchar reversed(uchar b)
{
    return reversedBits[b];
}

} // namespace BitOrder
