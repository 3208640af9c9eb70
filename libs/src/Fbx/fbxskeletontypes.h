// What a node is called in the file by its attribute.
#pragma once

class KFbxNode;
class KFbxNodeAttribute;

// The sub-type of a bone, such as "LimbNode".
const char* FbxSkeletonTypeName(const KFbxNodeAttribute& attribute);

// The sub-type of a model: that of its bone, "Mesh", or "Null" for a plain transform.
const char* FbxModelTypeName(const KFbxNode& node);
