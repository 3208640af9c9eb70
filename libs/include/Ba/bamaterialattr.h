// The attributes of a material: colours, shininess, opacity.
#pragma once

#include <array>
#include <iosfwd>
#include <span>

#include "Bt/btassert.h"

enum Ba_MatAttr_t { Emission, Ambient, Diffuse, Specular, Shininess, Alpha };

// The base of all attributes: a kind and its numbers.
class Ba_MatAttr {
 public:
  virtual ~Ba_MatAttr() = default;
  [[nodiscard]] Ba_MatAttr_t kind() const { return _kind; }
  [[nodiscard]] virtual std::span<const float> values() const = 0;
  [[nodiscard]] virtual std::span<float> values() = 0;
  // Takes the numbers of an attribute of the same kind.
  void set(const Ba_MatAttr& other);

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
    BtAssert(kind != Ba_MatAttr_t::Shininess && kind != Ba_MatAttr_t::Alpha,
             "kind!=Shininess && kind!=Alpha");
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
    BtAssert(kind == Ba_MatAttr_t::Shininess || kind == Ba_MatAttr_t::Alpha,
             "kind==Shininess || kind==Alpha");
  }
  [[nodiscard]] std::span<const float> values() const override { return {&_value, 1}; }
  [[nodiscard]] std::span<float> values() override { return {&_value, 1}; }
  [[nodiscard]] float value() const { return _value; }
  void setValue(float value) { _value = value; }

 private:
  float _value = 0;
};

// An attribute class of one fixed kind.
template <class Base, Ba_MatAttr_t kKind>
class Ba_MatAttrOfKind : public Base {
 public:
  Ba_MatAttrOfKind() : Base(kKind) {}
};

using BaMatEmissionAttr = Ba_MatAttrOfKind<Ba_MatRGBAttr, Ba_MatAttr_t::Emission>;
using BaMatAmbientAttr = Ba_MatAttrOfKind<Ba_MatRGBAttr, Ba_MatAttr_t::Ambient>;
using BaMatDiffuseAttr = Ba_MatAttrOfKind<Ba_MatRGBAttr, Ba_MatAttr_t::Diffuse>;
using BaMatSpecularAttr = Ba_MatAttrOfKind<Ba_MatRGBAttr, Ba_MatAttr_t::Specular>;
using BaMatShininessAttr = Ba_MatAttrOfKind<Ba_MatFAttr, Ba_MatAttr_t::Shininess>;
using BaMatAlphaAttr = Ba_MatAttrOfKind<Ba_MatFAttr, Ba_MatAttr_t::Alpha>;
