// The attributes of lights and lighting models.
#pragma once

#include <array>
#include <iosfwd>
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

// An attribute class of one fixed kind with its count of numbers.
template <Ba_LightAttr_t kKind, std::size_t kCount>
class Ba_LightAttrOfKind : public Ba_LightAttr {
 public:
  static constexpr std::size_t kValues = kCount;
  Ba_LightAttrOfKind() : Ba_LightAttr(kKind) {}
  [[nodiscard]] std::span<const float> values() const override { return _values; }
  [[nodiscard]] std::span<float> values() override { return _values; }

 private:
  std::array<float, kCount> _values = {};
};

using BaLightAmbientAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::AmbientAttr, 3>;
using BaLightDiffuseAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::DiffuseAttr, 3>;
using BaLightSpecularAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::SpecularAttr, 3>;
using BaLightPosAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::PositionAttr, 4>;
using BaLightSpotDirectionAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::SpotDirectionAttr, 3>;
using BaLightSpotLightAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::SpotLightAttr, 2>;
using BaLightLocalViewerAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::LocalViewerAttr, 1>;
using BaLightAttenuationAttr = Ba_LightAttrOfKind<Ba_LightAttr_t::AttenuationAttr, 2>;

// The attributes of one light or lighting model, one of a kind at most, in the order in which they
// were added. A copy is deep.
class BaLightAttrs {
 public:
  // How a file names an attribute, and the error when its numbers cannot be read.
  struct Code {
    int code;
    Ba_LightAttr_t kind;
    const char* failure;
  };

  BaLightAttrs() = default;
  BaLightAttrs(const BaLightAttrs& other);
  BaLightAttrs& operator=(const BaLightAttrs&) = delete;

  [[nodiscard]] const BtList<std::unique_ptr<Ba_LightAttr>>& list() const { return _attrs; }
  // The attribute of a kind, null when there is none.
  [[nodiscard]] const Ba_LightAttr* find(Ba_LightAttr_t kind) const;
  // Answers the attribute that is there, or a new one of zeros.
  Ba_LightAttr* add(Ba_LightAttr_t kind);

  // Reads the numbers of one attribute; false after a recorded error.
  bool scanFrom(const Code& code, BtScanner& in);
  // Writes a line for each attribute that has a code.
  void printOn(std::span<const Code> codes, std::ostream& os) const;

 private:
  BtList<std::unique_ptr<Ba_LightAttr>> _attrs;
};
