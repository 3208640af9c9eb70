#include "bapolygonremover.h"

#include <array>
#include <cstddef>
#include <span>

#include "Ba/bamodel.h"

void Ba_PolygonRemover::removeUpTo(int body_id) {
  if (_model == nullptr || !_model->_flexible_polygons.empty()) return;
  std::array<const void*, 8> kept = {};  // what the first ones that stay have in the arena
  std::size_t n_kept = 0;
  const auto remove_front = [&](auto* elements, int* n_gone) {
    const auto is_gone = [body_id](const auto& element) { return element.bodyId() <= body_id; };
    *n_gone = elements->deleteFrom(*n_gone, is_gone);
    if (*n_gone == elements->size()) return;
    const auto& first = *(*elements)[*n_gone];
    kept[n_kept++] = &first;
    kept[n_kept++] = first.vertices().begin();
  };
  remove_front(&_model->_polygons, &_n_gone.polygons);
  remove_front(&_model->_textured_polygons, &_n_gone.textured_polygons);
  remove_front(&_model->_t_meshes, &_n_gone.t_meshes);
  remove_front(&_model->_textured_t_meshes, &_n_gone.textured_t_meshes);
  if (n_kept > 0) {
    // Elements that are in the arena stand in the lists in the order in which they came there.
    _model->_arena.freeBefore(std::span(kept).first(n_kept));
  } else {
    _model->removePolygons();
    _n_gone = {};
  }
}
