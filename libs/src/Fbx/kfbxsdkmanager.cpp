#include "Fbx/kfbxsdkmanager.h"

#include <algorithm>

KFbxSdkManager* KFbxSdkManager::Create() {
  return std::unique_ptr<KFbxSdkManager, void (*)(KFbxSdkManager*)>(
             new KFbxSdkManager, [](KFbxSdkManager* manager) { delete manager; })
      .release();
}

void KFbxSdkManager::Destroy() { delete this; }

void KFbxSdkManager::DestroyObject(const KFbxObject* object) {
  // Objects that go early, such as exporters, were mostly made last.
  const auto found = std::find_if(_objects.rbegin(), _objects.rend(),
                                  [object](const auto& owned) { return owned.get() == object; });
  if (found != _objects.rend()) _objects.erase(std::next(found).base());
}
