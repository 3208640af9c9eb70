// The text record of a body map: body id, order, then a description per transform id.
#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "Ba/babodymap.h"
#include "Bt/btexcept.h"
#include "btclassicios.h"
#include "btfloattext.h"

namespace {

using Term = BaUnlockedTransform::Term;

// Reads the terms of a combination. Their stated number sizes nothing before they have been seen.
bool ReadTerms(BtScanner* scanner, int id, int body_id, int count, BtDArray<Term>* terms) {
  std::vector<Term> read;
  for (int i = 0; i < count; ++i) {
    Term term = {};
    if (!scanner->readInt(&term.sysvar_id) || !scanner->readFloat(&term.coefficient)) {
      return BtFail("Cannot read sysvar/coefficent pair for transform #%d, body id %d.", id,
                    body_id);
    }
    if (term.sysvar_id < 1) {
      return BtFail(
          "Invalid system variable id in linear combination for transform #%d, "
          "body id %d.",
          id, body_id);
    }
    read.push_back(term);
  }
  terms->resize(static_cast<int>(read.size()));
  std::copy(read.begin(), read.end(), terms->begin());
  return true;
}

// Reads the description of one transform id: a variable id of 0 or more, or -(n+1) and a linear
// combination of n terms.
bool ReadTransform(BtScanner* scanner, int id, int body_id, BaUnlockedTransform* transform) {
  int value = 0;
  if (!scanner->readInt(&value)) {
    return BtFail("Unable to read system variable id for transform #%d, body %d.", id, body_id);
  }
  if (value >= 0) {
    *transform = BaUnlockedTransform(id, value);
    return true;
  }
  float constant = 0;
  if (!scanner->readFloat(&constant)) {
    return BtFail(
        "Unable to read constant for linear combination for transform #%d, "
        "body %d.",
        id, body_id);
  }
  BtDArray<Term> terms;
  if (!ReadTerms(scanner, id, body_id, -(value + 1), &terms)) return false;
  *transform = BaUnlockedTransform(id, constant, std::move(terms));
  return true;
}

bool ReadOrder(BtScanner* scanner, int body_id, int (&order)[kBaTransformCount]) {
  for (int& id : order) {
    if (!scanner->readInt(&id)) {
      return BtFail("Cannot read transformation type for body id %d.", body_id);
    }
    if (id < 1 || id > kBaTransformCount) {
      return BtFail("Invalid transformation type (%d) for body id %d.", id, body_id);
    }
  }
  return true;
}

void AppendInt(std::string* text, long long number) { *text += std::to_string(number); }

void AppendFloat(std::string* text, float number) {
  char digits[32];
  text->append(digits, BtFloatToChars(digits, digits + sizeof digits, number).ptr);
}

void AppendTransform(std::string* text, const BaUnlockedTransform& transform) {
  if (!transform.isCombination()) {
    AppendInt(text, transform.sysVarId());
    *text += '\n';
    return;
  }
  AppendInt(text, -(static_cast<long long>(transform.terms().size()) + 1));
  *text += ' ';
  AppendFloat(text, transform.constant());
  *text += ' ';
  for (const Term& term : transform.terms()) {
    AppendInt(text, term.sysvar_id);
    *text += ' ';
    AppendFloat(text, term.coefficient);
    *text += ' ';
  }
  *text += '\n';
}

}  // namespace

std::unique_ptr<BaUnlockedBodyMap> BaUnlockedBodyMap::scanNewFrom(std::istream& is) {
  BtScanner scanner(is);
  auto new_bodymap_ptr = std::make_unique<BaUnlockedBodyMap>();
  if (!new_bodymap_ptr->_scanFrom(&scanner)) return nullptr;
  BtAssert(new_bodymap_ptr->bodyId() >= 1, "new_bodymap_ptr->bodyId()>=1");
  return new_bodymap_ptr;
}

bool BaUnlockedBodyMap::_scanFrom(BtScanner* scanner) {
  int body_id = 0;
  if (!scanner->readInt(&body_id)) return BtFail("Error reading body id\n");
  if (body_id < 1) return BtFail(BtCode("body-id-range"), "Invalid body id %d.", body_id);
  _body_id.set(body_id);
  int order[kBaTransformCount];
  if (!ReadOrder(scanner, body_id, order)) return false;
  BaUnlockedTransform by_id[kBaTransformCount];
  for (int id = 1; id <= kBaTransformCount; ++id) {
    if (!ReadTransform(scanner, id, body_id, &by_id[id - 1])) return false;
  }
  _transforms.resize(kBaTransformCount);
  for (int position = 0; position < kBaTransformCount; ++position) {
    _transforms[position] = by_id[order[position] - 1];
  }
  return true;
}

void BaUnlockedBodyMap::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  const BaUnlockedTransformList& transformation_order = _transforms;
  BtAssert(transformation_order.size() == kBaTransformCount, "transformation_order.count() == 6");
  std::string text;
  AppendInt(&text, bodyId());
  text += '\n';
  for (const BaUnlockedTransform& transform : transformation_order) {
    if (&transform != transformation_order.begin()) text += ' ';
    AppendInt(&text, transform.id());
  }
  text += '\n';
  for (int id = 1; id <= kBaTransformCount; ++id) {
    const BaUnlockedTransform* transform = FindTransform(transformation_order, id);
    BtAssert(transform != nullptr, "transformation_order.contains(id)");
    AppendTransform(&text, *transform);
  }
  os.write(text.data(), static_cast<std::streamsize>(text.size()));
}
