// The attributes of a material: colours, shininess, opacity.
#pragma once

#include <array>
#include <cstddef>
#include <iterator>
#include <memory>
#include <span>
#include <string_view>
#include <type_traits>

#include "Bt/btassert.h"

enum Ba_MatAttr_t { Emission, Ambient, Diffuse, Specular, Shininess, Alpha };

// All that is known of one kind of attribute: readers, writers and conversions go by this.
struct Ba_MatAttrInfo {
  Ba_MatAttr_t kind;
  int code;                   // in legacy models
  std::string_view key_word;  // in documents
  const char* name;           // in messages and reports
  bool is_colour;             // red, green and blue, else a single number
  float initial;              // the number where a document gives none; a colour is then empty
  const char* fbx_property;   // that takes the numbers as they are, null for none

  [[nodiscard]] constexpr std::size_t count() const { return is_colour ? 3 : 1; }
};

// In the order of Ba_MatAttr_t, which is the order in documents.
inline constexpr Ba_MatAttrInfo kBaMatAttrs[] = {
    {Emission, 1, "EMISSION", "emission", true, 0, "EmissiveColor"},
    {Ambient, 2, "AMBIENT", "ambient", true, 0, "AmbientColor"},
    {Diffuse, 3, "DIFFUSE", "diffuse", true, 0, "DiffuseColor"},
    {Specular, 4, "SPECULAR", "specular", true, 0, "SpecularColor"},
    {Shininess, 5, "SHININESS", "shininess", false, 0, "ShininessExponent"},
    {Alpha, 7, "ALPHA", "alpha", false, 1, nullptr},
};
inline constexpr std::size_t kBaMatAttrCount = std::size(kBaMatAttrs);

[[nodiscard]] constexpr const Ba_MatAttrInfo& Ba_InfoOf(Ba_MatAttr_t kind) {
  return kBaMatAttrs[static_cast<std::size_t>(kind)];
}

// The base of all attributes: a kind and its numbers.
class Ba_MatAttr {
 public:
  virtual ~Ba_MatAttr() = default;
  [[nodiscard]] Ba_MatAttr_t kind() const { return _kind; }
  [[nodiscard]] virtual std::span<const float> values() const = 0;
  [[nodiscard]] virtual std::span<float> values() = 0;
  // Takes the numbers of an attribute of the same kind.
  void set(const Ba_MatAttr& other);

  // A new attribute of zeros.
  [[nodiscard]] static std::unique_ptr<Ba_MatAttr> create(Ba_MatAttr_t kind);

 protected:
  explicit Ba_MatAttr(Ba_MatAttr_t kind) : _kind(kind) {}
  Ba_MatAttr(const Ba_MatAttr&) = default;
  Ba_MatAttr& operator=(const Ba_MatAttr&) = default;

 private:
  Ba_MatAttr_t _kind;
};

// A colour: red, green, blue.
class Ba_MatRGBAttr : public Ba_MatAttr {
 public:
  explicit Ba_MatRGBAttr(Ba_MatAttr_t kind) : Ba_MatAttr(kind) {
    BtAssert(Ba_InfoOf(kind).is_colour, "kind!=Shininess && kind!=Alpha");
  }
  [[nodiscard]] std::span<const float> values() const override { return _rgb; }
  [[nodiscard]] std::span<float> values() override { return _rgb; }
  [[nodiscard]] const std::array<float, 3>& rgb() const { return _rgb; }
  void setRGB(float r, float g, float b) { _rgb = {r, g, b}; }

 private:
  std::array<float, 3> _rgb = {};
};

// A single number.
class Ba_MatFAttr : public Ba_MatAttr {
 public:
  explicit Ba_MatFAttr(Ba_MatAttr_t kind) : Ba_MatAttr(kind) {
    BtAssert(!Ba_InfoOf(kind).is_colour, "kind==Shininess || kind==Alpha");
  }
  [[nodiscard]] std::span<const float> values() const override { return {&_value, 1}; }
  [[nodiscard]] std::span<float> values() override { return {&_value, 1}; }
  [[nodiscard]] float value() const { return _value; }
  void setValue(float value) { _value = value; }

 private:
  float _value = 0;
};

// An attribute class of one fixed kind.
template <Ba_MatAttr_t kKind>
class Ba_MatAttrOfKind
    : public std::conditional_t<Ba_InfoOf(kKind).is_colour, Ba_MatRGBAttr, Ba_MatFAttr> {
 public:
  Ba_MatAttrOfKind()
      : std::conditional_t<Ba_InfoOf(kKind).is_colour, Ba_MatRGBAttr, Ba_MatFAttr>(kKind) {}
};

using BaMatEmissionAttr = Ba_MatAttrOfKind<Ba_MatAttr_t::Emission>;
using BaMatAmbientAttr = Ba_MatAttrOfKind<Ba_MatAttr_t::Ambient>;
using BaMatDiffuseAttr = Ba_MatAttrOfKind<Ba_MatAttr_t::Diffuse>;
using BaMatSpecularAttr = Ba_MatAttrOfKind<Ba_MatAttr_t::Specular>;
using BaMatShininessAttr = Ba_MatAttrOfKind<Ba_MatAttr_t::Shininess>;
using BaMatAlphaAttr = Ba_MatAttrOfKind<Ba_MatAttr_t::Alpha>;
