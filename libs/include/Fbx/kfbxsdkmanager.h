// KFbxSdkManager: owner of everything that is made for one conversion.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "Fbx/kfbxiopluginregistry.h"
#include "Fbx/kfbxobject.h"

class KFbxSdkManager {
 public:
  // A new manager, to be given back with Destroy().
  [[nodiscard]] static KFbxSdkManager* Create();
  // Destroys the manager and every object made through it.
  void Destroy();

  [[nodiscard]] const KFbxIOPluginRegistry* GetIOPluginRegistry() const { return &_registry; }

  // For the Create() functions of the object classes: takes the object over.
  template <class T>
  T* Adopt(std::unique_ptr<T> object) {
    T* const adopted = object.get();
    _objects.push_back(std::move(object));
    return adopted;
  }
  // Destroys one object before the others.
  void DestroyObject(const KFbxObject* object);

 private:
  KFbxSdkManager() = default;
  ~KFbxSdkManager() = default;

  KFbxIOPluginRegistry _registry;
  std::vector<std::unique_ptr<KFbxObject>> _objects;
};

// Gives the class T its Create() functions. T needs a constructor from manager and name that this
// class may call.
template <class T, class Base = KFbxObject>
class KFbxCreated : public Base {
 public:
  static T* Create(KFbxSdkManager* manager, const BtStr& name) {
    return manager->Adopt(std::unique_ptr<T>(new T(manager, name)));
  }
  // The same within a scene, or any other object: the new object belongs to its manager.
  static T* Create(const KFbxObject* container, const BtStr& name) {
    return Create(container->GetFbxSdkManager(), name);
  }

 protected:
  using Base::Base;
};
