// What all objects of a scene have in common: a name, and the manager that owns them. Objects are
// made by the Create() of their class and live until the manager is destroyed.
#pragma once

#include "Bt/btstr.h"

class KFbxSdkManager;

// A text of an object: null stands for an empty one.
inline const char* KFbxText(const char* text) { return text == nullptr ? "" : text; }

class KFbxObject {
 public:
  virtual ~KFbxObject() = default;
  KFbxObject(const KFbxObject&) = delete;
  KFbxObject& operator=(const KFbxObject&) = delete;

  // As given when the object was made; empty where that was null.
  [[nodiscard]] const char* GetName() const { return KFbxText(_name); }
  [[nodiscard]] KFbxSdkManager* GetFbxSdkManager() const { return _manager; }

 protected:
  KFbxObject(KFbxSdkManager* manager, const BtStr& name) : _manager(manager), _name(name) {}

 private:
  KFbxSdkManager* _manager;
  BtStr _name;
};

// What a node is: a bone or a mesh. A node without one is a plain transform.
struct FbxSceneContent;

class KFbxNodeAttribute : public KFbxObject {
 public:
  enum EAttributeType { eSKELETON, eMESH };
  [[nodiscard]] virtual EAttributeType GetAttributeType() const = 0;

 protected:
  using KFbxObject::KFbxObject;

 private:
  friend struct FbxSceneContent;
  int _file_place = -1;  // in what is being written, if that has the attribute there
};

// A value of an object that callers set and writers read.
template <class T>
class KFbxProperty {
 public:
  KFbxProperty() = default;
  explicit KFbxProperty(const T& value) : _value(value) {}
  void Set(const T& value) { _value = value; }
  [[nodiscard]] const T& Get() const { return _value; }

 private:
  T _value{};
};
