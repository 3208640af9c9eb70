// The legacy writer, and reading back what it wrote.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "Ba/modeltexts.h"

namespace {

// Every kind of record and attribute, in the writer's order and form.
TEST(LegacyWriter, WritesEveryRecordAsItReadsIt) {
  const std::string text = ModelText("every-record.mdl");
  BaModel model;
  ASSERT_EQ(ScanInto(&model, text), "");
  EXPECT_EQ(Print(model), text);
}

TEST(LegacyWriter, WritesVersionsAndUnlinkedBodiesInOneForm) {
  BaModel model;
  ASSERT_EQ(ScanInto(&model, "Zov Graphic Model File\nv1.10\nM 1 m\n0"), "");
  EXPECT_EQ(Print(model), "Zov Graphic Model File\nv1.30\nM   1 m\n 0\n");
  BaBody body;
  body.setName("loose");
  body.setId(4);
  body.setParentId(8);
  std::ostringstream os;
  os << std::hex << std::showpos << std::scientific;  // other users of the stream
  body.printOn(os);
  EXPECT_EQ(os.str().substr(0, 43), "   X\n loose\n 4\n <NOT_YET_ASSIGNED>\n 8\n  1.0");
}

TEST(LegacyWriter, KeepsEveryFloat) {
  std::mt19937 random(20120714);
  float x = -0.0F;
  float y = 1e-45F;
  float z = 3.4028235e38F;
  for (int i = 0; i < 10000; ++i) {
    const BaVertex vertex(x, y, z);
    const BaVertex read = Scanned<BaVertex>(Print(vertex));
    ASSERT_EQ(read, vertex);
    ASSERT_EQ(Print(read), Print(vertex)) << "the signs of zeros";
    for (float* number : {&x, &y, &z}) *number = RandomFloat(&random);
  }
}

TEST(LegacyWriter, KeepsEveryTextureFileName) {
  for (const char* name :
       {"", "a b", "a\"b", "a\"'b", "\"'|^~", "\\", "\\\"", "a\nb", " a ", "\t"}) {
    BaTexture texture;
    texture.setFileName(name);
    EXPECT_EQ(Scanned<BaTexture>(Print(texture)).fileName(), name);
  }
}

TEST(LegacyWriter, TellsWhatItCouldNotWrite) {
  BaModel model;
  ASSERT_EQ(ScanInto(&model, ModelText("every-record.mdl")), "");
  std::string messages;
  for (const std::string& message : MessagesOfFullDisks(model)) messages += message;
  EXPECT_EQ(messages,
            "E Unable to write header id.\n"
            "E Unable to write header version.\n"
            "E Unable to write body.\n"
            "E Unable to write material.\n"
            "E Unable to write lighting model.\n"
            "E Unable to write light.\n"
            "E Unable to write bone data.\n"
            "E Unable to write triangle mesh.\n"
            "E Unable to write textured triangle mesh.\n"
            "E Unable to write polygon.\n"
            "E Unable to write textured polygon.\n"
            "E Unable to write flexible polygon.\n"
            "E Unable to write muscle.\n");
}

TEST(LegacySamples, ReadBackAsWritten) {
  for (const char* name : {"fox", "robot", "walker"}) {
    BaModel model;
    model.read(BtFormat(KESTRIX_SAMPLES "/%s.mdl", name));
    BaModel again;
    ASSERT_EQ(ScanInto(&again, Print(model)), "");
    EXPECT_EQ(Print(again), Print(model)) << name;
  }
}

}  // namespace
