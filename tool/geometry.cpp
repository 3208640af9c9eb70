#include "geometry.h"

#include <algorithm>

void Box::add(const Point& point) {
  if (!min) min = max = point;
  for (std::size_t c = 0; c < point.size(); ++c) {
    (*min)[c] = std::min((*min)[c], point[c]);
    (*max)[c] = std::max((*max)[c], point[c]);
  }
}

void Box::add(const Box& box) {
  if (!box.min) return;
  add(*box.min);
  add(*box.max);
}

double SizeOf(const Box& box) {
  if (!box.min) return 0;
  const Point sides = *box.max - *box.min;
  return *std::ranges::max_element(sides);
}

std::vector<const BaBody*> BodiesInOrder(const BaModel& model) {
  std::vector<const BaBody*> bodies;
  std::vector<const BaBody*> waiting;
  const auto wait_for_children = [&waiting](const BaBody& body) {
    for (int i = body.numChildren() - 1; i >= 0; --i) waiting.push_back(body.child(i));
  };
  if (const BaBody* reference = model.findBody(0); reference != nullptr) {
    wait_for_children(*reference);
  }
  while (!waiting.empty()) {
    bodies.push_back(waiting.back());
    waiting.pop_back();
    wait_for_children(*bodies.back());
  }
  return bodies;
}

WorldTransforms WorldTransformsOf(const BaModel& model) {
  WorldTransforms transforms;
  transforms[0] = Bt4X4DoubleMat();
  for (const BaBody* body : BodiesInOrder(model)) {
    transforms[body->id()] = Bt4X4DoubleMat(body->transform()) * transforms[body->parentId()];
  }
  return transforms;
}
