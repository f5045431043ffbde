// Sector geometry of MIFARE Classic cards: 1K = 16 sectors of 4 blocks; 4K = 32 sectors of 4
// blocks followed by 8 sectors of 16 blocks (blocks 128 to 255). The last block of every sector is
// its trailer.
#pragma once

namespace lumivex::sim {

struct ClassicGeometry {
  static constexpr int kSmallSectors = 32;
  static constexpr int kSmallSectorBlocks = 4;
  static constexpr int kLargeSectorBlocks = 16;
  static constexpr int kFirstLargeBlock = kSmallSectors * kSmallSectorBlocks;  // 128

  bool fourK = false;

  [[nodiscard]] int blockCount() const { return fourK ? 256 : 64; }
  [[nodiscard]] int sectorCount() const { return fourK ? 40 : 16; }
  [[nodiscard]] bool HasBlock(int block) const { return block >= 0 && block < blockCount(); }

  [[nodiscard]] int SectorOf(int block) const {
    if (block < kFirstLargeBlock) return block / kSmallSectorBlocks;
    return kSmallSectors + (block - kFirstLargeBlock) / kLargeSectorBlocks;
  }
  [[nodiscard]] int FirstBlockOf(int sector) const {
    if (sector < kSmallSectors) return sector * kSmallSectorBlocks;
    return kFirstLargeBlock + (sector - kSmallSectors) * kLargeSectorBlocks;
  }
  [[nodiscard]] int BlocksIn(int sector) const {
    return sector < kSmallSectors ? kSmallSectorBlocks : kLargeSectorBlocks;
  }
  [[nodiscard]] int TrailerOf(int sector) const {
    return FirstBlockOf(sector) + BlocksIn(sector) - 1;
  }
  [[nodiscard]] bool IsTrailer(int block) const { return block == TrailerOf(SectorOf(block)); }

  // The access-bit group (0, 1, 2 for data, 3 for the trailer) that governs a block. In the
  // 16-block sectors each data group covers five blocks.
  [[nodiscard]] int GroupOf(int block) const {
    const int sector = SectorOf(block);
    const int index = block - FirstBlockOf(sector);
    if (BlocksIn(sector) == kSmallSectorBlocks) return index;
    return index == kLargeSectorBlocks - 1 ? 3 : index / 5;
  }
};

}  // namespace lumivex::sim
