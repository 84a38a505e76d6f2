#include "tools/virtual_box/record_frame.h"

namespace qmzentrel::virtual_box {
namespace {

std::uint32_t ThreeBytes(std::span<const std::uint8_t> bytes, std::size_t at) {
  return (std::uint32_t{bytes[at]} << 16) | (std::uint32_t{bytes[at + 1]} << 8) | bytes[at + 2];
}

}  // namespace

void TakeBlock1(std::span<const std::uint8_t> frame, Facts& facts) {
  facts.mif = frame[0];
  facts.util = frame[1];
  facts.id = ThreeBytes(frame, 2);
  facts.tamper = frame[5];
  facts.reading = ThreeBytes(frame, 6);
  facts.pll = frame[9] >> 4;
  facts.txi = frame[9] & 0x0F;
  facts.msi = frame[10] & 0x0F;
}

void TakeBlock2(std::span<const std::uint8_t> frame, Facts& facts) {
  facts.mif = frame[0];
  facts.freq_msb = frame[1];
  facts.freq_mid = frame[2];
  facts.freq_lsb = frame[3];
  facts.br_msb = frame[4];
  facts.br_lsb = frame[5];
  facts.pa = frame[6];
  facts.eol = frame[7];
  facts.leak_threshold = 255U - frame[8];
}

}  // namespace qmzentrel::virtual_box
