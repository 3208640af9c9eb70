// How large programs draw the bones of a skeleton.
#pragma once

class KFbxNode;

// Gives all bones below `root` sizes that go with their lengths: half the distance to the children,
// the middle one of several; a bone without children is as large as its parent. None is smaller
// than a tenth of what is usual in the skeleton, so that all can be seen and picked. Where no bone
// has a length, all keep the size that bones have by themselves.
void SetLimbSizes(KFbxNode* root);
