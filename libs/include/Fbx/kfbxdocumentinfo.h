// KFbxDocumentInfo: who made the scene and what it is, for the header of the file.
#pragma once

#include "Fbx/kfbxsdkmanager.h"

class KFbxDocumentInfo : public KFbxCreated<KFbxDocumentInfo> {
 public:
  BtStr mTitle;
  BtStr mSubject;
  BtStr mAuthor;
  BtStr mKeywords;
  BtStr mRevision;
  BtStr mComment;
  // The program that made the scene.
  BtStr mApplicationVendor;
  BtStr mApplicationName;
  BtStr mApplicationVersion;

 private:
  friend class KFbxCreated<KFbxDocumentInfo>;
  using KFbxCreated::KFbxCreated;
};
