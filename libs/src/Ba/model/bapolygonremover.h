// Ba_PolygonRemover: empties a model while something else is made of it, so that there is never
// room for both.
#pragma once

class BaModel;

// Polygons and strips go with the bodies that have them. The model must not be changed meanwhile,
// and in the end its polygons are to be removed, for bodies still list those that are gone.
class Ba_PolygonRemover {
 public:
  // Does nothing for null.
  explicit Ba_PolygonRemover(BaModel* model) : _model(model) {}

  // The polygons of the bodies up to this id are not needed any more. Those that are listed behind
  // others that are needed stay until these go: files list them body after body.
  void removeUpTo(int body_id);

 private:
  // How many elements of each list are gone, from its front.
  struct Counts {
    int polygons = 0;
    int textured_polygons = 0;
    int t_meshes = 0;
    int textured_t_meshes = 0;
  };

  BaModel* _model;
  Counts _n_gone;
};
