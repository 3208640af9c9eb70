#include "Ba/babody.h"

#include <algorithm>
#include <charconv>
#include <ostream>

#include "balegacytext.h"
#include "btclassicios.h"

namespace {

constexpr int kMatrixRows = 4;
constexpr int kMatrixColumns = 3;

// Two blanks and the value with six decimals.
void PutFixed(std::ostream& os, float value) {
  char text[64] = {' ', ' '};
  const std::to_chars_result end =
      std::to_chars(text + 2, text + sizeof text, value, std::chars_format::fixed, 6);
  os.write(text, end.ptr - text);
}

bool ScanMatrix(BtScanner& in, Bt4X4FloatMat* matrix) {
  *matrix = Bt4X4FloatMat();
  for (int row = 0; row < kMatrixRows; ++row) {
    for (int column = 0; column < kMatrixColumns; ++column) {
      if (!in.readFloat(&(*matrix)(row, column))) return false;
    }
  }
  return true;
}

}  // namespace

void BaBodyObj::getTransformation(BtCoordSystem* coord_system) const {
  *coord_system = BtCoordSystem(_transform);
}

BaBodyObj* BaBodyObj::child(int i) const {
  BtAssert(i >= 0 && i < numChildren());
  return _children[static_cast<std::size_t>(i)];
}

void BaBodyObj::setPostScaleFactor(float psf) {
  BtAssert(psf > 0.0F, "psf>0.0f");
  _post_scale_factor = psf;
}

void BaBodyObj::insertChildren(std::span<BaBodyObj* const> children) {
  const auto before = [](const BaBodyObj* a, const BaBodyObj* b) { return a->id() < b->id(); };
  const auto n_old = static_cast<std::ptrdiff_t>(_children.size());
  _children.insert(_children.end(), children.begin(), children.end());
  // Only those behind the first new one have to move.
  const auto middle = _children.begin() + n_old;
  if (middle == _children.end()) return;
  const auto first = std::upper_bound(_children.begin(), middle, *middle, before);
  std::inplace_merge(first, middle, _children.end(), before);
}

void BaBodyObj::sortChildren() {
  std::sort(_children.begin(), _children.end(),
            [](const BaBodyObj* a, const BaBodyObj* b) { return a->id() < b->id(); });
}

void BaBodyObj::removeChild(BaBodyObj* child) {
  const auto place = std::find(_children.begin(), _children.end(), child);
  BtAssert(place != _children.end());
  _children.erase(place);
}

bool BaBodyObj::isDescendantOf(const BaBodyObj* body) const {
  const BaBodyObj* ancestor = _parent;
  while (ancestor != nullptr && ancestor != body) ancestor = ancestor->_parent;
  return ancestor != nullptr;
}

void BaBodyObj::debugPrintOn(std::ostream& os) const {
  os << "---\nName: ";
  if (name().isNull()) {
    os << "NULL\n";
  } else {
    os << name() << '\n';
  }
  os << "Id: " << id() << "\nParent Id: " << _parent_id << "\nParent Name: ";
  if (_parent == nullptr) {
    os << "[parent unassigned]\n";
  } else {
    os << _parent->name() << '\n';
  }
  os << "Num Children: " << numChildren() << '\n';
}

bool BaBody::hasPolygons() const {
  return !_polygons.empty() || !_textured_polygons.empty() || !_t_meshes.empty() ||
         !_textured_t_meshes.empty();
}

void BaBody::preAddElements() const {
  BtAssert(_bones.isTrimmed(), "_n_bones_added == _bones.size()");
  BtAssert(_polygons.isTrimmed(), "_n_polygons_added == _polygons.size()");
  BtAssert(_textured_polygons.isTrimmed(),
           "_n_textured_polygons_added == _textured_polygons.size()");
  BtAssert(_flexible_polygons.isTrimmed(),
           "_n_flexible_polygons_added == _flexible_polygons.size()");
  BtAssert(_t_meshes.isTrimmed(), "_n_t_meshes_added == _t_meshes.size()");
  BtAssert(_textured_t_meshes.isTrimmed(),
           "_n_textured_t_meshes_added == _textured_t_meshes.size()");
}

void BaBody::postAddElements() {
  _bones.trim();
  _polygons.trim();
  _textured_polygons.trim();
  _flexible_polygons.trim();
  _t_meshes.trim();
  _textured_t_meshes.trim();
}

bool BaBody::scanFrom(std::istream& is) {
  BtScanner in(is);
  return scanFrom(in);
}

bool BaBody::scanFrom(BtScanner& in) {
  BtAssert(isValid(), "isValid()");
  Ba_SkipLine(in, kBaLineLimit);
  BtStr name;
  if (!Ba_ScanLine(in, &name)) return BtFail("Unable to read name.");
  int id = 0;
  if (!in.readInt(&id)) return BtFail("Unable to read id.");
  Ba_SkipLine(in);
  Ba_SkipLine(in);  // the parent's name, for people only
  int parent_id = 0;
  if (!in.readInt(&parent_id)) return BtFail("Unable to read parent id.");
  Bt4X4FloatMat matrix;
  if (!ScanMatrix(in, &matrix)) return BtFail("Unable to read matrix.");
  setName(name.replaceAll(" ", "_"));
  setId(id);
  setParentId(parent_id);
  setTransform(matrix);
  return true;
}

void BaBody::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  BtAssert(isValid(), "isValid()");
  os << "   X\n " << name() << "\n";
  Ba_PutInt(os, id());
  os << '\n';
  if (parent() != nullptr) {
    os << ' ' << parent()->name() << '\n';
    Ba_PutInt(os, parent()->id());
  } else {
    os << " <NOT_YET_ASSIGNED>\n";
    Ba_PutInt(os, parentId());
  }
  os << '\n';
  for (int row = 0; row < kMatrixRows; ++row) {
    for (int column = 0; column < kMatrixColumns; ++column) PutFixed(os, transform()(row, column));
    os << '\n';
  }
}
