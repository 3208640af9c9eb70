// The layers by which animators show, hide and lock all limbs or all meshes at once.
#pragma once

class KFbxScene;

// Puts every bone of the scene on the layer "Skeleton" and every mesh on "Geometry". A layer that
// would hold nothing is left out.
void AddDisplayLayers(KFbxScene* scene);
