// The sections behind the body maps of a mapping file.
#include <charconv>
#include <string_view>

#include "Ba/bamapping.h"
#include "Bt/btexcept.h"
#include "Bt/btflatmap.h"
#include "Bt/btparse.h"
#include "Bt/btscan.h"
#include "bamappingtext.h"
#include "btreading.h"
#include "btviewstream.h"

namespace {

using BlendEffectMap = BaUnlockedMapping::BlendEffectMap;

// The user is asked for a cancel after so many sections.
constexpr int kSectionsPerQuestion = 40;

constexpr const char* kNoSliderGroup = "No SLIDER_GROUP specified in BLEND_EFFECT_MAP section.";

bool FailId(const char* kind, std::string_view id) {
  return BtFail("Invalid %s id '%.*s' specified.", kind, static_cast<int>(id.size()), id.data());
}

// Removes the next word from the front of the text; empty when there is none.
std::string_view TakeWord(std::string_view* text) {
  std::size_t begin = 0;
  while (begin < text->size() && BtIsSpace((*text)[begin])) ++begin;
  std::size_t end = begin;
  while (end < text->size() && !BtIsSpace((*text)[end])) ++end;
  const std::string_view word = text->substr(begin, end - begin);
  text->remove_prefix(end);
  return word;
}

// False unless the whole word is a number in the range of int.
bool WordToInt(std::string_view word, int* value) {
  if (word.starts_with('+') && !word.starts_with("+-")) word.remove_prefix(1);
  const char* end = word.data() + word.size();
  const std::from_chars_result result = std::from_chars(word.data(), end, *value);
  return result.ec == std::errc() && result.ptr == end;
}

// Reads the pairs of a SLIDERS block. `known` holds the sliders of this effect map so far.
bool ReadSliders(std::string_view text, BtNameMap<int>* known, BlendEffectMap* map) {
  BtTextReading reading(text);
  for (std::string_view word = TakeWord(&text); !word.empty(); word = TakeWord(&text)) {
    reading.moveTo(word.data());
    // A brace in front belongs to a block that cannot stand here; the others are no part of a line.
    if (word.front() == '{' || word.find_first_of("#}") != std::string_view::npos) {
      return BtFail("Unable to read slider name from SLIDERS section.");
    }
    const BtStr name(word);
    const std::string_view id_word = TakeWord(&text);
    int id = 0;
    if (!WordToInt(id_word, &id)) return BtFail("Unable to read sysvar id from SLIDERS section.");
    if (id < 1) return FailId("sysvar", id_word);
    const auto [slider, is_new] = known->try_emplace(name, id);
    if (is_new) {
      map->sliders.push_back({name, id});
    } else if (slider->second != id) {
      return BtFail("Slider " + name + " appears multiple times with different mappings.");
    }
  }
  return true;
}

bool ReadSliderGroup(const BtStr& value, bool single_line, BtStr* slider_group) {
  const bool has_blanks = value.view().find_first_of(" \t\n") != std::string_view::npos;
  if (single_line && has_blanks) BtFail("Slider group names cannot contain spaces.");
  if (!single_line || has_blanks || value.length() == 0 || !BaCanBeInMapping(value.view())) {
    return BtFail("Invalid value for SLIDER_GROUP in BLEND_EFFECT_MAP section.");
  }
  *slider_group = value;
  return true;
}

bool ReadIncludeItem(const BtStr& key, const BtStr& value, bool single_line,
                     BaUnlockedMapping::Include* include) {
  bool valid = single_line && value.length() > 0 && BaCanBeInMapping(value.view());
  if (key == "FILE_NAME") {
    include->file_name = value;
  } else if (key == "BODY_ID_OFFSET") {
    valid = valid && value.intValue(&include->body_id_offset);
  } else if (key == "SYSTEM_VARIABLE_ID_OFFSET") {
    valid = valid && value.intValue(&include->sysvar_id_offset);
  } else {
    return BtFail("Unrecognized key word \"" + key + "\".");
  }
  return valid || BtFail("Invalid value for " + key + ".");
}

// Reads one item of a BLEND_EFFECT_MAP section.
bool ReadBlendItem(const BtStr& key, const BtStr& item, bool single_line, BtNameMap<int>* known,
                   BlendEffectMap* map) {
  if (key == "SLIDER_GROUP") return ReadSliderGroup(item, single_line, &map->slider_group);
  if (key == "SLIDERS") {
    return ReadSliders(item.view(), known, map) &&
           (!map->slider_group.isNull() || BtFail(kNoSliderGroup));
  }
  return BtFail("Unrecognized key word \"" + key + "\" in BLEND_EFFECT_MAP section.");
}

// Calls read(key, item, single_line) for each item of a section's block; false where that or the
// reading of an item fails.
template <class Read>
bool ReadItems(const BtStr& block, Read read) {
  BtViewStream is(block.view());
  for (;;) {
    BtStr key;
    BtStr item;
    bool single_line = false;
    if (!BtReadTaggedValue(is, &key, &item, &single_line)) return false;
    if (key.isNull()) return true;
    const BtItemReading item_reading(is, item.view(), single_line);
    if (!read(key, item, single_line)) return false;
  }
}

}  // namespace

bool BaUnlockedMapping::_scanSections(std::istream& is) {
  const BtItemReading unreadable(is, {}, true);
  for (int count = 1;; ++count) {
    if (count % kSectionsPerQuestion == 0 && theExceptObj.checkCancel()) return false;
    BtStr tag;
    BtStr value;
    bool single_line = false;
    if (!BtReadTaggedValue(is, &tag, &value, &single_line)) return false;
    const BtItemReading section(is, value.view(), single_line);
    if (is.bad()) return BtFail("Error reading file.");
    if (tag.isNull() || tag == "END") return true;
    if (!_scanSection(tag, value)) return false;
  }
}

bool BaUnlockedMapping::_scanSection(const BtStr& tag, const BtStr& value) {
  struct Section {
    const char* tag;
    bool (BaUnlockedMapping::*scan)(const BtStr& value);
    bool before_includes;
    const char* failure;
  };
  static constexpr Section kSections[] = {
      {"MATERIAL_TEXTURE_INDEX_MAPS", &BaUnlockedMapping::_scanTextureIndexMaps, true,
       "Unable to read material texture index maps."},
      {"BLEND_EFFECT_MAP", &BaUnlockedMapping::_scanBlendEffectMap, true,
       "Unable to blend effect map."},
      {"INCLUDE", &BaUnlockedMapping::_scanInclude, false, "Unable to read include."},
  };
  for (const Section& section : kSections) {
    if (!(tag == section.tag)) continue;
    if (section.before_includes && !_includes.empty()) {
      return BtFail(tag + " must be specified before IMPORT.");
    }
    return (this->*section.scan)(value) || BtFail("%s", section.failure);
  }
  return BtFail("Invalid tag '" + tag + "' in mapping file.");
}

bool BaUnlockedMapping::_scanTextureIndexMaps(const BtStr& value) {
  std::string_view text = value.view();
  BtTextReading reading(text);
  for (std::string_view word = TakeWord(&text); !word.empty(); word = TakeWord(&text)) {
    TextureIndexMap map = {};
    reading.moveTo(word.data());
    if (!WordToInt(word, &map.material_id) || map.material_id < 1) return FailId("material", word);
    word = TakeWord(&text);
    if (!WordToInt(word, &map.sysvar_id) || map.sysvar_id < 1) return FailId("sysvar", word);
    _texture_index_maps.push_back(map);
  }
  return true;
}

bool BaUnlockedMapping::_scanBlendEffectMap(const BtStr& value) {
  BlendEffectMap map;
  BtNameMap<int> known;
  const auto read = [&](const BtStr& key, const BtStr& item, bool single_line) {
    return ReadBlendItem(key, item, single_line, &known, &map);
  };
  if (!ReadItems(value, read)) return false;
  if (map.slider_group.isNull()) return BtFail(kNoSliderGroup);
  _blend_effect_maps.push_back(std::move(map));
  return true;
}

bool BaUnlockedMapping::_scanInclude(const BtStr& value) {
  Include include;
  const auto read = [&include](const BtStr& key, const BtStr& item, bool single_line) {
    return ReadIncludeItem(key, item, single_line, &include);
  };
  if (!ReadItems(value, read)) return false;
  if (include.file_name.isNull()) return BtFail("No FILE_NAME specified.");
  _includes.push_back(include);
  return true;
}
