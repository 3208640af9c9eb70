// The attributes of lights and lighting models.
#pragma once

#include <array>
#include <cstddef>
#include <iosfwd>
#include <iterator>
#include <memory>
#include <span>

#include "Bt/btassert.h"
#include "Bt/btlist.h"

class BtScanner;

enum Ba_LightAttr_t {
  AmbientAttr,        // red, green, blue
  DiffuseAttr,        // red, green, blue: the colour of a light
  SpecularAttr,       // red, green, blue
  PositionAttr,       // x, y, z, w; w is 0 for a direction
  SpotDirectionAttr,  // x, y, z
  SpotLightAttr,      // exponent from 0 to 128, spread angle
  LocalViewerAttr,    // one number
  AttenuationAttr     // two numbers
};

// All that is known of one kind of attribute: readers and writers go by this.
struct Ba_LightAttrInfo {
  Ba_LightAttr_t kind;
  std::size_t count;  // of its numbers
  const char* name;   // in messages
  int light_code;     // in a light of a file, 0 for none
  int model_code;     // in a lighting model of a file, 0 for none
};

// In the order of Ba_LightAttr_t.
inline constexpr Ba_LightAttrInfo kBaLightAttrs[] = {
    {AmbientAttr, 3, "ambient", 2, 2},
    {DiffuseAttr, 3, "color", 101, 0},
    {SpecularAttr, 3, "specular", 0, 0},
    {PositionAttr, 4, "position", 102, 0},
    {SpotDirectionAttr, 3, "spot direction", 103, 0},
    {SpotLightAttr, 2, "spot light", 104, 0},
    {LocalViewerAttr, 1, "local viewer", 0, 201},
    {AttenuationAttr, 2, "attenuation", 0, 202},
};
inline constexpr std::size_t kBaLightAttrCount = std::size(kBaLightAttrs);

[[nodiscard]] constexpr const Ba_LightAttrInfo& Ba_InfoOf(Ba_LightAttr_t kind) {
  return kBaLightAttrs[static_cast<std::size_t>(kind)];
}

// A kind and its numbers.
class Ba_LightAttr {
 public:
  virtual ~Ba_LightAttr() = default;
  [[nodiscard]] Ba_LightAttr_t kind() const { return _kind; }
  [[nodiscard]] virtual std::span<const float> values() const = 0;
  [[nodiscard]] virtual std::span<float> values() = 0;

  // A new attribute of zeros.
  [[nodiscard]] static std::unique_ptr<Ba_LightAttr> create(Ba_LightAttr_t kind);

 protected:
  explicit Ba_LightAttr(Ba_LightAttr_t kind) : _kind(kind) {}
  Ba_LightAttr(const Ba_LightAttr&) = default;
  Ba_LightAttr& operator=(const Ba_LightAttr&) = default;

 private:
  Ba_LightAttr_t _kind;
};

// An attribute class of one fixed kind.
template <Ba_LightAttr_t kKind>
class Ba_LightAttrOfKind : public Ba_LightAttr {
 public:
  Ba_LightAttrOfKind() : Ba_LightAttr(kKind) {}
  [[nodiscard]] std::span<const float> values() const override { return _values; }
  [[nodiscard]] std::span<float> values() override { return _values; }

 private:
  std::array<float, Ba_InfoOf(kKind).count> _values = {};
};

using BaLightAmbientAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::AmbientAttr>;
using BaLightDiffuseAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::DiffuseAttr>;
using BaLightSpecularAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::SpecularAttr>;
using BaLightPosAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::PositionAttr>;
using BaLightSpotDirectionAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::SpotDirectionAttr>;
using BaLightSpotLightAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::SpotLightAttr>;
using BaLightLocalViewerAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::LocalViewerAttr>;
using BaLightAttenuationAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::AttenuationAttr>;

// The attributes of one light or lighting model, one of a kind at most, in the order in which they
// were added. A copy is deep.
class BaLightAttrs {
 public:
  BaLightAttrs() = default;
  BaLightAttrs(const BaLightAttrs& other);
  BaLightAttrs& operator=(const BaLightAttrs&) = delete;

  [[nodiscard]] const BtList<std::unique_ptr<Ba_LightAttr>>& list() const { return _attrs; }
  // The attribute of a kind, null when there is none.
  [[nodiscard]] const Ba_LightAttr* find(Ba_LightAttr_t kind) const;
  // Answers the attribute that is there, or a new one of zeros.
  Ba_LightAttr* add(Ba_LightAttr_t kind);

  // Reads the numbers of one attribute; false after a recorded error, which calls the owner by
  // `owner`.
  bool scanFrom(const Ba_LightAttrInfo& attribute, const char* owner, BtScanner& in);
  // Writes a line for each attribute that has a code with its owner.
  void printOn(int Ba_LightAttrInfo::*code, std::ostream& os) const;

 private:
  BtList<std::unique_ptr<Ba_LightAttr>> _attrs;
};
