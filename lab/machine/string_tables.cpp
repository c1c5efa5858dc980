#include "machine/string_tables.h"

#include <map>

namespace Lab {
namespace {

/// Strings of one language by id; languages by block number.
using Block = std::map<std::uint16_t, std::wstring_view>;
using Blocks = std::map<std::uint16_t, std::map<std::uint16_t, Block>>;

// Filled before main() and only read afterwards.
Blocks& AllBlocks() {
  static Blocks blocks;
  return blocks;
}

std::uint16_t BlockNumber(std::uint16_t id) { return static_cast<std::uint16_t>(id / 16); }

const Block* FindBlock(std::uint16_t language, std::uint16_t id) {
  const auto languages = AllBlocks().find(BlockNumber(id));
  if (languages == AllBlocks().end()) return nullptr;
  const auto block = languages->second.find(language);
  return block == languages->second.end() ? nullptr : &block->second;
}

}  // namespace

LinkedStrings::LinkedStrings(const TableString* strings, std::size_t count) {
  for (const TableString* string = strings; string != strings + count; ++string) {
    AllBlocks()[BlockNumber(string->id)][string->language][string->id] = string->text;
  }
}

bool HasStringBlock(std::uint16_t language, std::uint16_t id) {
  return FindBlock(language, id) != nullptr;
}

std::uint16_t FirstLanguageOfBlock(std::uint16_t id) {
  const auto languages = AllBlocks().find(BlockNumber(id));
  return languages == AllBlocks().end() ? std::uint16_t{0} : languages->second.begin()->first;
}

std::wstring_view FindString(std::uint16_t language, std::uint16_t id) {
  const Block* block = FindBlock(language, id);
  if (block == nullptr) return {};
  const auto string = block->find(id);
  return string == block->end() ? std::wstring_view{} : string->second;
}

}  // namespace Lab
