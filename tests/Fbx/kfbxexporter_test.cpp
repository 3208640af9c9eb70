#include "kfbxexporter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "fbxasciiencoder.h"
#include "fbxoutputfile.h"
#include "fbxrecords.h"
#include "fbxsourcefile.h"
#include "kfbxmesh.h"
#include "kfbxnode.h"
#include "testscene.h"

namespace {

TEST(KFbxExporter, EmbedsPicturesOrWarns) {
  const TestFolder folder;
  const std::string bytes = std::string("\x89PNG\0\r\n", 7) + std::string(700000, 'p');
  folder.write("good.png", bytes);
  folder.write("empty.png", "");
  const struct {
    const char* name;
    const char* warning;
    std::string content;
  } cases[] = {
      {"good.png", "", bytes},
      {"empty.png", "", ""},
      {"missing.png", "No such file or directory", ""},
      {"", "Is a directory", ""},
      {"good.png/x.png", "Not a directory", ""},
  };
  for (const auto& c : cases) {
    for (const int format : {kBinary71, kBinary61}) {
      const std::string path = folder.path(c.name);
      const TestScene scene(path);
      const FbxFile file = ParseFbx(SavedBytes(scene.scene, format));
      const BtStr warning = TakeMessage();
      const std::string expected = "Unable to embed the picture '" + path + "': " + c.warning + ".";
      EXPECT_EQ(warning, BtStr(*c.warning == '\0' ? "" : expected.c_str()));
      const FbxRecord& objects = file.main.child("Objects");
      const FbxRecord& content = objects.child("Video").child("Content");
      EXPECT_EQ(content.values.size(), *c.warning == '\0' ? 1U : 0U);
      EXPECT_TRUE(content.values.empty() || content.text() == c.content);
      EXPECT_EQ(objects.child("Video").child("Filename").text(), path);
      EXPECT_EQ(objects.child("Texture").child("FileName").text(), path);
    }
  }
}

template <class... Numbers>
std::vector<std::int32_t> Ints(Numbers... numbers) {
  return {numbers...};
}

TEST(KFbxExporter, RefusesScenesThatContradictThemselves) {
  const struct {
    const char* error;
    std::function<void(TestScene*)> spoil;
  } cases[] = {
      {"its transform is not finite",
       [](TestScene* s) { s->head->LclTranslation.Set(KFbxVector4(0, INFINITY, 0)); }},
      {"a point is not finite", [](TestScene* s) { s->mesh->GetControlPoints()[4] = NAN; }},
      {"a point is cut off", [](TestScene* s) { s->mesh->GetControlPoints().push_back(1); }},
      {"a corner names a point that is not there",
       [](TestScene* s) { s->mesh->GetControlPoints().resize(15); }},
      {"its last polygon has no end",
       [](TestScene* s) { s->mesh->SetPolygons(Ints(0, 1, 2), Ints(0)); }},
      {"its polygons and their materials differ in number",
       [](TestScene* s) { s->mesh->SetPolygons(Ints(0, 1, -3), Ints(0, 0)); }},
      {"a polygon names a material that is not there",
       [](TestScene* s) { s->mesh->SetPolygons(Ints(0, 1, -3), Ints(2)); }},
      {"its corners and their texture coordinates differ in number",
       [](TestScene* s) { s->mesh->SetPolygons(Ints(0, 1, -3), Ints(0)); }},
      {"a corner names a texture coordinate that is not there",
       [](TestScene* s) { s->mesh->SetUVs("map1", std::vector(2, 0.0)); }},
      {"its normals are not one for each place",
       [](TestScene* s) { s->mesh->SetNormals(KFbxMesh::eBY_CONTROL_POINT, std::vector(3, 1.0)); }},
      {"its skin names a bone outside of the scene",
       [](TestScene* s) { KFbxNode::Create(s->scene, "other")->AddChild(s->head); }},
  };
  for (const auto& c : cases) {
    for (const int format : {kBinary71, kBinary61}) {
      TestScene scene;
      c.spoil(&scene);
      EXPECT_EQ(SavedBytes(scene.scene, format), "");
      const std::string error(TakeMessage());
      EXPECT_NE(error.find(c.error), std::string::npos) << error;
    }
  }
}

TEST(KFbxExporter, TellsWhatItCannotDo) {
  const ManagerPtr manager = NewManager();
  const struct {
    const char* file;
    int format;
    const char* version;
    const char* error;
  } cases[] = {
      {"a.fbx", kBinary71, "FBX201100", ""},
      {"a.fbx", kBinary61, "FBX200900", ""},
      {"a.fbx", kAscii71, "FBX201100", ""},
      {"a.fbx", kBinary71, "FBX200900",
       "The format \"FBX binary (*.fbx)\" has no version \"FBX200900\"."},
      {"a.fbx", kBinary71, "", "The format \"FBX binary (*.fbx)\" has no version \"\"."},
      {"", kBinary71, nullptr, "No file name is given."},
      {"a.fbx", -1, nullptr, "There is no file format -1."},
      {"a.fbx", 99, nullptr, "There is no file format 99."},
      {"a.fbx", 2, nullptr, "Files of the format \"FBX encrypted (*.fbx)\" cannot be written."},
      {"a.fbx", 7, nullptr, "Files of the format \"Alias OBJ (*.obj)\" cannot be written."},
  };
  for (const auto& c : cases) {
    KFbxExporter* exporter = KFbxExporter::Create(manager.get(), "");
    const bool good = exporter->Initialize(c.file, c.format) &&
                      exporter->SetFileExportVersion(c.version, KFbxExporter::eFBX_TO_FBX);
    EXPECT_EQ(good, *c.error == '\0');
    EXPECT_STREQ(exporter->GetLastErrorString(), c.error);
    exporter->Destroy();
  }
  KFbxExporter* exporter = KFbxExporter::Create(manager.get(), "");
  EXPECT_FALSE(exporter->SetFileExportVersion("FBX201100"));
  EXPECT_FALSE(exporter->Export(KFbxScene::Create(manager.get(), "")));
  EXPECT_EQ(TakeMessage(), BtStr(exporter->GetLastErrorString()));
}

// What text an encoder makes of some records, without the opening lines.
std::string Text(int version, const std::function<void(FbxRecordSink*)>& write) {
  std::string text;
  FbxOutputFile file;
  EXPECT_TRUE(file.openMemory(&text));
  FbxAsciiEncoder encoder(&file, version);
  write(&encoder);
  encoder.endSection();
  EXPECT_TRUE(file.commit());
  return text.substr(text.find("\n\n") + 2);
}

TEST(FbxAsciiEncoder, WritesARecordALine) {
  const std::vector<std::int32_t> numbers = {1, -2, 3};
  const std::vector<double> none;
  const struct {
    std::function<void(FbxRecordSink*)> write;
    const char* newer;
    const char* older;  // null where it is the same
  } cases[] = {
      {[](FbxRecordSink* s) { s->leaf("A", "t\"\n", 'Y', 1, std::int64_t{-5}, 0.1, "x"); },
       "A: \"t&quot;&lf;\",Y,1,-5,0.1, \"x\"\n", nullptr},
      {[](FbxRecordSink* s) {
         s->leaf("A", FbxObjectName{"hips", "Model"});
       },
       "A: \"Model::hips\"\n", nullptr},
      {[&](FbxRecordSink* s) { s->leaf("A", std::span<const std::int32_t>(numbers)); },
       "A: *3 {\n\ta: 1,\n-2,\n3\n}\n", "A: 1,\n-2,\n3\n"},
      {[&](FbxRecordSink* s) { s->leaf("UV", std::span<const std::int32_t>(numbers)); },
       "UV: *3 {\n\ta: 1,-2,\n3\n}\n", "UV: 1,-2,\n3\n"},
      {[&](FbxRecordSink* s) {
         s->leaf("PolygonVertexIndex", std::span<const std::int32_t>(numbers));
       },
       "PolygonVertexIndex: *3 {\n\ta: 1,-2,\n3\n}\n", "PolygonVertexIndex: 1,-2,\n3\n"},
      {[&](FbxRecordSink* s) { s->leaf("A", std::span<const double>(none)); },
       "A: *0 {\n\ta: \n}\n", "A: \n"},
      {[](FbxRecordSink* s) {
         s->open("A");
         s->open("B", 1);
         s->leaf("C", 2.5);
         s->end();
         s->end();
       },
       "A:  {\n\tB: 1 {\n\t\tC: 2.5\n\t}\n}\n", nullptr},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Text(7100, c.write), c.newer);
    EXPECT_EQ(Text(6100, c.write), c.older == nullptr ? c.newer : c.older);
  }
}

TEST(FbxAsciiEncoder, WritesBytesAsBase64) {
  const TestFolder folder;
  // More than one block of the file, and both kinds of ends.
  const std::string block(3 << 16, '\0');
  const std::string zeros(4 << 16, 'A');
  const struct {
    std::string bytes;
    std::string text;
  } cases[] = {{"", ""},        {"f", "Zg=="},        {"fo", "Zm8="},
               {"foo", "Zm9v"}, {"\xFB\xFF", "+/8="}, {block + "fo", zeros + "Zm8="}};
  for (const auto& c : cases) {
    folder.write("bytes", c.bytes);
    const std::string text = Text(7100, [&](FbxRecordSink* sink) {
      FbxSourceFile file;
      EXPECT_TRUE(file.open(folder.path("bytes")));
      sink->begin("Content");
      sink->addFile(file);
      sink->end();
    });
    EXPECT_TRUE(text == "Content: ,\n\t\"" + c.text + "\"\n") << c.bytes.substr(0, 10);
  }
}

}  // namespace
