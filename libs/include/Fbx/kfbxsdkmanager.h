// KFbxSdkManager: owner of everything that is made for one conversion.
#pragma once

#include <memory>
#include <new>
#include <vector>

#include "Bt/btarena.h"
#include "Fbx/kfbxiopluginregistry.h"
#include "Fbx/kfbxobject.h"

class KFbxSdkManager {
 public:
  // A new manager, to be given back with Destroy().
  [[nodiscard]] static KFbxSdkManager* Create();
  // Destroys the manager and every object made through it.
  void Destroy();

  [[nodiscard]] const KFbxIOPluginRegistry* GetIOPluginRegistry() const { return &_registry; }

  // For the Create() functions of the object classes: owns the object that make_at(room) makes.
  template <class T, class MakeAt>
  T* Make(MakeAt make_at) {
    static_assert(sizeof(T) <= BtArena::kLargestPiece);
    static_assert(alignof(T) <= BtArena::kAlignment);
    T* const object = make_at(_arena.takeForObject(sizeof(T)));
    _objects.emplace_back(object);
    return object;
  }
  // Destroys one object before the others. Its memory goes with theirs.
  void DestroyObject(const KFbxObject* object);

 private:
  KFbxSdkManager() = default;
  ~KFbxSdkManager() = default;

  struct Destructor {
    void operator()(const KFbxObject* object) const { object->~KFbxObject(); }
  };

  KFbxIOPluginRegistry _registry;
  BtArena _arena;  // of the objects: a scene may have millions
  std::vector<std::unique_ptr<KFbxObject, Destructor>> _objects;
};

// Gives the class T its Create() functions. T needs a constructor from manager and name that this
// class may call.
template <class T, class Base = KFbxObject>
class KFbxCreated : public Base {
 public:
  static T* Create(KFbxSdkManager* manager, const BtStr& name) {
    return manager->Make<T>([&](void* room) { return ::new (room) T(manager, name); });
  }
  // The same within a scene, or any other object: the new object belongs to its manager.
  static T* Create(const KFbxObject* container, const BtStr& name) {
    return Create(container->GetFbxSdkManager(), name);
  }

 protected:
  using Base::Base;
};
