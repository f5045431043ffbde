// The FIPS 46-3 tables as published (bit numbers count from 1, bit 1 being the most significant
// bit of the first byte), and the lookup tables the block primitive derives from them at compile
// time. Private to crypto/.
#pragma once

#include <array>
#include <cstdint>

namespace lumivex::crypto::detail {

// Permuted choice 1: the 56 key bits that feed C (first 28) and D (last 28).
inline constexpr std::array<std::uint8_t, 56> kPermutedChoice1 = {
    57, 49, 41, 33, 25, 17, 9,  1,  58, 50, 42, 34, 26, 18, 10, 2,  59, 51, 43,
    35, 27, 19, 11, 3,  60, 52, 44, 36, 63, 55, 47, 39, 31, 23, 15, 7,  62, 54,
    46, 38, 30, 22, 14, 6,  61, 53, 45, 37, 29, 21, 13, 5,  28, 20, 12, 4};

// Permuted choice 2: the 48 bits of a round key taken from C||D. The first 24 come from C only,
// the last 24 from D only, which the table builder below relies on.
inline constexpr std::array<std::uint8_t, 48> kPermutedChoice2 = {
    14, 17, 11, 24, 1,  5,  3,  28, 15, 6,  21, 10, 23, 19, 12, 4,  26, 8,  16, 7,  27, 20, 13, 2,
    41, 52, 31, 37, 47, 55, 30, 40, 51, 45, 33, 48, 44, 49, 39, 56, 34, 53, 46, 42, 50, 36, 29, 32};

// Left rotations of C and D before each of the 16 rounds.
inline constexpr std::array<std::uint8_t, 16> kKeyShifts = {1, 1, 2, 2, 2, 2, 2, 2,
                                                            1, 2, 2, 2, 2, 2, 2, 1};

// Permutation P applied to the 32 S-box output bits.
inline constexpr std::array<std::uint8_t, 32> kPermutationP = {
    16, 7, 20, 21, 29, 12, 28, 17, 1,  15, 23, 26, 5,  18, 31, 10,
    2,  8, 24, 14, 32, 27, 3,  9,  19, 13, 30, 6,  22, 11, 4,  25};

// The eight S-boxes, each indexed [row][column].
inline constexpr std::uint8_t kSBoxes[8][4][16] = {
    {{14, 4, 13, 1, 2, 15, 11, 8, 3, 10, 6, 12, 5, 9, 0, 7},
     {0, 15, 7, 4, 14, 2, 13, 1, 10, 6, 12, 11, 9, 5, 3, 8},
     {4, 1, 14, 8, 13, 6, 2, 11, 15, 12, 9, 7, 3, 10, 5, 0},
     {15, 12, 8, 2, 4, 9, 1, 7, 5, 11, 3, 14, 10, 0, 6, 13}},
    {{15, 1, 8, 14, 6, 11, 3, 4, 9, 7, 2, 13, 12, 0, 5, 10},
     {3, 13, 4, 7, 15, 2, 8, 14, 12, 0, 1, 10, 6, 9, 11, 5},
     {0, 14, 7, 11, 10, 4, 13, 1, 5, 8, 12, 6, 9, 3, 2, 15},
     {13, 8, 10, 1, 3, 15, 4, 2, 11, 6, 7, 12, 0, 5, 14, 9}},
    {{10, 0, 9, 14, 6, 3, 15, 5, 1, 13, 12, 7, 11, 4, 2, 8},
     {13, 7, 0, 9, 3, 4, 6, 10, 2, 8, 5, 14, 12, 11, 15, 1},
     {13, 6, 4, 9, 8, 15, 3, 0, 11, 1, 2, 12, 5, 10, 14, 7},
     {1, 10, 13, 0, 6, 9, 8, 7, 4, 15, 14, 3, 11, 5, 2, 12}},
    {{7, 13, 14, 3, 0, 6, 9, 10, 1, 2, 8, 5, 11, 12, 4, 15},
     {13, 8, 11, 5, 6, 15, 0, 3, 4, 7, 2, 12, 1, 10, 14, 9},
     {10, 6, 9, 0, 12, 11, 7, 13, 15, 1, 3, 14, 5, 2, 8, 4},
     {3, 15, 0, 6, 10, 1, 13, 8, 9, 4, 5, 11, 12, 7, 2, 14}},
    {{2, 12, 4, 1, 7, 10, 11, 6, 8, 5, 3, 15, 13, 0, 14, 9},
     {14, 11, 2, 12, 4, 7, 13, 1, 5, 0, 15, 10, 3, 9, 8, 6},
     {4, 2, 1, 11, 10, 13, 7, 8, 15, 9, 12, 5, 6, 3, 0, 14},
     {11, 8, 12, 7, 1, 14, 2, 13, 6, 15, 0, 9, 10, 4, 5, 3}},
    {{12, 1, 10, 15, 9, 2, 6, 8, 0, 13, 3, 4, 14, 7, 5, 11},
     {10, 15, 4, 2, 7, 12, 9, 5, 6, 1, 13, 14, 0, 11, 3, 8},
     {9, 14, 15, 5, 2, 8, 12, 3, 7, 0, 4, 10, 1, 13, 11, 6},
     {4, 3, 2, 12, 9, 5, 15, 10, 11, 14, 1, 7, 6, 0, 8, 13}},
    {{4, 11, 2, 14, 15, 0, 8, 13, 3, 12, 9, 7, 5, 10, 6, 1},
     {13, 0, 11, 7, 4, 9, 1, 10, 14, 3, 5, 12, 2, 15, 8, 6},
     {1, 4, 11, 13, 12, 3, 7, 14, 10, 15, 6, 8, 0, 5, 9, 2},
     {6, 11, 13, 8, 1, 4, 10, 7, 9, 5, 0, 15, 14, 2, 3, 12}},
    {{13, 2, 8, 4, 6, 15, 11, 1, 10, 9, 3, 14, 5, 0, 12, 7},
     {1, 15, 13, 8, 10, 3, 7, 4, 12, 5, 6, 11, 0, 14, 9, 2},
     {7, 11, 4, 1, 9, 12, 14, 2, 0, 6, 10, 13, 15, 3, 5, 8},
     {2, 1, 14, 7, 4, 10, 8, 13, 15, 12, 9, 0, 3, 5, 6, 11}}};

// How the rounds see the data. The right half R is kept rotated right by one bit (R' = R >>> 1).
// The expansion E then needs no table: in R' the six bits that feed S-boxes 1, 3, 5, 7 sit at
// shifts 26, 18, 10, 2, and in R' >>> 4 those of S-boxes 8, 2, 4, 6 sit at the same shifts. A round
// key is stored in that layout: the high word holds the key groups of S-boxes 1, 3, 5, 7, the low
// word those of S-boxes 8, 2, 4, 6. The S-P tables give P(S(x)) already rotated right by one bit.
inline constexpr std::array<int, 8> kGroupShift = {58, 18, 50, 10, 42, 2, 34, 26};

constexpr std::uint32_t RotateRight(std::uint32_t x, int n) {
  return (x >> n) | (x << ((32 - n) & 31));
}

// S-box j merged with P: entry v (the six input bits, first bit most significant) is the 32-bit
// contribution of that S-box to f, rotated right by one bit.
using SpTables = std::array<std::array<std::uint32_t, 64>, 8>;
constexpr SpTables MakeSpTables() {
  SpTables sp{};
  for (int j = 0; j < 8; ++j) {
    for (int v = 0; v < 64; ++v) {
      const int row = ((v >> 4) & 2) | (v & 1);
      const int column = (v >> 1) & 0xF;
      const std::uint32_t s = static_cast<std::uint32_t>(kSBoxes[j][row][column]) << (28 - 4 * j);
      std::uint32_t out = 0;
      for (int i = 0; i < 32; ++i) {
        if ((s >> (32 - kPermutationP[i])) & 1U) out |= 1U << (31 - i);
      }
      sp[j][v] = RotateRight(out, 1);
    }
  }
  return sp;
}

// PC-1 by key nibble: entry [n][v] is the 56-bit C||D contribution (C in the high 28 bits) of
// nibble n (key bits 4n+1..4n+4) holding v.
using Pc1Tables = std::array<std::array<std::uint64_t, 16>, 16>;
constexpr Pc1Tables MakePc1Tables() {
  Pc1Tables t{};
  for (int n = 0; n < 16; ++n) {
    for (int v = 0; v < 16; ++v) {
      std::uint64_t out = 0;
      for (int i = 0; i < 56; ++i) {
        const int source = kPermutedChoice1[i] - 1;
        if (source / 4 == n && ((v >> (3 - source % 4)) & 1)) out |= std::uint64_t{1} << (55 - i);
      }
      t[n][v] = out;
    }
  }
  return t;
}

// PC-2 by 7-bit chunk: chunks 0..3 are the bits 1-7, 8-14, 15-21, 22-28 of C, chunks 4..7 the same
// of D. Entry [m][v] is the chunk's contribution to a round key in the layout described above.
using Pc2Tables = std::array<std::array<std::uint64_t, 128>, 8>;
constexpr Pc2Tables MakePc2Tables() {
  Pc2Tables t{};
  for (int m = 0; m < 8; ++m) {
    for (int v = 0; v < 128; ++v) {
      std::uint64_t out = 0;
      for (int i = 0; i < 48; ++i) {
        const int source = kPermutedChoice2[i] - 1;  // 0..55 in C||D
        if (source / 7 != m || !((v >> (6 - source % 7)) & 1)) continue;
        const int group = i / 6;
        out |= std::uint64_t{1} << (kGroupShift[group] + 5 - i % 6);
      }
      t[m][v] = out;
    }
  }
  return t;
}

}  // namespace lumivex::crypto::detail
