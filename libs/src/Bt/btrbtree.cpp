#include "Bt/btrbtree.h"

#include <utility>

namespace {

constexpr int kLeft = 0;
constexpr int kRight = 1;

}  // namespace

struct BtRBTreeBase::Node {
  void* item;
  Node* parent;
  Node* child[2] = {nullptr, nullptr};  // left, right
  bool red = true;

  Node(void* new_item, Node* new_parent) : item(new_item), parent(new_parent) {}
  // Which child of its parent the node is.
  [[nodiscard]] int side() const { return parent->child[kRight] == this ? kRight : kLeft; }
  static bool isRed(const Node* node) { return node != nullptr && node->red; }
};

BtRBTreeBase::BtRBTreeBase() = default;
BtRBTreeBase::~BtRBTreeBase() { clear(); }

void BtRBTreeBase::insert(void* item, Compare compare) {
  BtAssert(this->_hasNoIters(), "this->_hasNoIters()");
  Node* parent = nullptr;
  Node** link = &_root;
  while (*link != nullptr) {
    parent = *link;
    const int cmp_val = compare(item, parent->item);
    BtAssert(cmp_val != 0, "cmp_val!=0");
    link = &parent->child[cmp_val < 0 ? kLeft : kRight];
  }
  *link = std::make_unique<Node>(item, parent).release();
  ++_count;
  _fixInsert(*link);
}

void* BtRBTreeBase::find(void* key, Compare compare) const {
  const Node* node = _findNode(key, compare);
  return node == nullptr ? nullptr : node->item;
}

void* BtRBTreeBase::remove(void* key, Compare compare) {
  BtAssert(this->_hasNoIters(), "this->_hasNoIters()");
  Node* node = _findNode(key, compare);
  if (node == nullptr) return nullptr;
  void* const item = node->item;
  if (node->child[kLeft] != nullptr && node->child[kRight] != nullptr) {
    // The next item moves here; its node, which has no left child, goes instead.
    Node* const next = _leftmost(node->child[kRight]);
    node->item = next->item;
    node = next;
  }
  const std::unique_ptr<Node> gone(node);
  Node* const only_child = node->child[node->child[kLeft] != nullptr ? kLeft : kRight];
  Node* const parent = node->parent;
  const int side = parent == nullptr ? kLeft : node->side();
  _linkTo(node) = only_child;
  if (only_child != nullptr) {
    only_child->parent = parent;
    only_child->red = false;
  } else if (!node->red) {
    _fixRemove(parent, side);
  }
  --_count;
  return item;
}

void BtRBTreeBase::clear() {
  BtAssert(this->_hasNoIters(), "this->_hasNoIters()");
  // Frees the leaves from the left until nothing is left.
  Node* node = _root;
  while (node != nullptr) {
    Node* const child = node->child[kLeft] != nullptr ? node->child[kLeft] : node->child[kRight];
    if (child != nullptr) {
      node = child;
      continue;
    }
    const std::unique_ptr<Node> gone(node);
    _linkTo(node) = nullptr;
    node = node->parent;
  }
  _count = 0;
}

BtRBTreeBase::Node* BtRBTreeBase::_findNode(void* key, Compare compare) const {
  Node* node = _root;
  while (node != nullptr) {
    const int cmp_val = compare(key, node->item);
    if (cmp_val == 0) break;
    node = node->child[cmp_val < 0 ? kLeft : kRight];
  }
  return node;
}

BtRBTreeBase::Node*& BtRBTreeBase::_linkTo(const Node* node) {
  return node->parent == nullptr ? _root : node->parent->child[node->side()];
}

// Moves `node` down to `side`; its child of the other side takes its place.
void BtRBTreeBase::_rotate(Node* node, int side) {
  Node* const up = node->child[1 - side];
  Node* const inner = up->child[side];
  _linkTo(node) = up;
  up->parent = node->parent;
  up->child[side] = node;
  node->parent = up;
  node->child[1 - side] = inner;
  if (inner != nullptr) inner->parent = node;
}

// No red node may have a red parent: recolours upwards, and ends with at most two rotations.
void BtRBTreeBase::_fixInsert(Node* node) {
  while (Node::isRed(node->parent)) {
    Node* parent = node->parent;
    Node* const grandparent = parent->parent;
    const int side = parent->side();
    Node* const uncle = grandparent->child[1 - side];
    if (Node::isRed(uncle)) {
      parent->red = false;
      uncle->red = false;
      grandparent->red = true;
      node = grandparent;
      continue;
    }
    if (node->side() != side) {
      std::swap(node, parent);
      _rotate(node, side);
    }
    parent->red = false;
    grandparent->red = true;
    _rotate(grandparent, 1 - side);
  }
  _root->red = false;
}

// Every way down must pass the same number of black nodes: the one through `parent`'s child of
// `side` has lost one.
void BtRBTreeBase::_fixRemove(Node* parent, int side) {
  while (parent != nullptr) {
    Node* sibling = parent->child[1 - side];
    if (Node::isRed(sibling)) {
      sibling->red = false;
      parent->red = true;
      _rotate(parent, side);
      sibling = parent->child[1 - side];
    }
    Node* const near = sibling->child[side];
    if (Node::isRed(near) && !Node::isRed(sibling->child[1 - side])) {
      near->red = false;
      sibling->red = true;
      _rotate(sibling, 1 - side);
      sibling = near;
    }
    Node* const far = sibling->child[1 - side];
    if (Node::isRed(far)) {
      sibling->red = parent->red;
      parent->red = false;
      far->red = false;
      _rotate(parent, side);
      return;
    }
    sibling->red = true;
    if (parent->red) {
      parent->red = false;
      return;
    }
    Node* const grandparent = parent->parent;
    if (grandparent != nullptr) side = parent->side();
    parent = grandparent;
  }
}

BtRBTreeBase::Node* BtRBTreeBase::_leftmost(Node* node) {
  while (node != nullptr && node->child[kLeft] != nullptr) node = node->child[kLeft];
  return node;
}

BtRBTreeBase::Node* BtRBTreeBase::_next(Node* node) {
  if (node->child[kRight] != nullptr) return _leftmost(node->child[kRight]);
  while (node->parent != nullptr && node->side() == kRight) node = node->parent;
  return node->parent;
}

BtRBTreeIter::BtRBTreeIter(const BtRBTreeBase& tree)
    : _tree(tree), _node(BtRBTreeBase::_leftmost(tree._root)) {
  ++_tree._iter_count;
}

BtRBTreeIter::~BtRBTreeIter() { --_tree._iter_count; }

void* BtRBTreeIter::data() const {
  BtAssert(!atEnd(), "!atEnd()");
  return _node->item;
}

void BtRBTreeIter::next() {
  BtAssert(!atEnd(), "!atEnd()");
  _node = BtRBTreeBase::_next(_node);
}
