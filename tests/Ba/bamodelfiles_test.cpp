// Files of models: what is refused and in which words, what is warned of, what is kept; and how
// legacy files are written.

#include "Ba/modeltexts.h"
#include "bamodelheader.h"

namespace {

std::string PrintedScan(const std::string& text) {
  BaModel model;
  return ScanInto(&model, text);
}

TEST(ModelReader, RefusesBadFiles) {
  for (const char* table : {"legacy.txt", "documents.txt"}) {
    for (const ErrorCase& c : ReadErrorCases(table)) {
      BaModel model;
      EXPECT_EQ(ScanInto(&model, c.text), PrintedError(c.lines)) << c.text;
      EXPECT_TRUE(model.bodies().empty() && model.materials().empty()) << c.text;
    }
  }
}

// A file that ends too early is an error or, between two records or sections, a smaller model.
TEST(ModelReader, CutFiles) {
  for (const char* name : {"every-record.mdl", "every-section.mdl"}) {
    const std::string text = ModelText(name);
    int whole = 0;
    testing::internal::CaptureStderr();
    for (std::size_t length = 0; length <= text.size(); ++length) {
      BaModel model;
      const bool failed = !ScanInto(&model, text.substr(0, length)).empty();
      EXPECT_EQ(model.bodies().empty(), failed) << length;
      if (failed) {
        EXPECT_EQ(Print(model), kLegacyHeader) << "nothing is left of it";
        continue;
      }
      ++whole;
      if (model.version() == 2.0F) const FilledDocument document(model);
    }
    testing::internal::GetCapturedStderr();
    EXPECT_GT(whole, 5);
  }
}

TEST(LegacyReader, AcceptsWhatIsNearlyRefused) {
  for (const ErrorCase& c : ReadErrorCases("odd-legacy.txt")) {
    EXPECT_EQ(PrintedScan(c.text), PrintedLines(c.lines)) << c.text;
  }
}

TEST(LegacyHeader, ReadsTheVersionAndNothingBehindIt) {
  for (const char* text :
       {"Zov Graphic Model File\nv1.20\n", "Zov Graphic Model File\r\nv 1.20\r\n",
        "Zov Graphic Model File\n\n v\n+1.2 rest"}) {
    std::istringstream is(text);
    float version = 0;
    EXPECT_TRUE(BaScanModelHeader(is, &version)) << text;
    EXPECT_EQ(version, 1.2F);
    EXPECT_TRUE(is.eof() || is.peek() == '\n' || is.peek() == '\r' || is.peek() == ' ');
  }
}

// Counts and ids that a file does not keep must be refused at once and cost no memory.
TEST(LegacyReader, BelievesNoCount) {
  for (const char* record :
       {"F 1 1 2147483647 0 0 0 -1", "P 1 1 2147483647 0 0 0 0 0 -1", "f 1 1 2147483647 1 ",
        "T 1 1 2147483647 0 0 0 0 -1", "t 1 1 2147483647 0 0 0 0 0 0 -1"}) {
    EXPECT_NE(PrintedScan(kBasicModel + record), "") << record;
  }
  BaModel model;
  EXPECT_EQ(ScanInto(&model, kBasicModel + Body(4194303, "b", 1)), "");
  EXPECT_EQ(model.bodies().size(), 4194304);
}

TEST(LegacyReader, CleansNames) {
  BaModel model;
  ASSERT_EQ(ScanInto(&model,
                     "Zov Graphic Model File\r\nv1.30\r\nX rest of the line\r\n\t left  arm \r\n"
                     " 1 rest\r\n no parent\r\n 0\r\n1 0 0\r\n0 1 0\r\n0 0 1\r\n1 2 3\r\n"
                     "X\n\n2\n\n1\n1 0 0 0 1 0 0 0 1 0 0 0\n"
                     "M 5  left \t arm \r\n0\r\nM 7 \t\r\n0\r\nm 5 upper  arm \r\n 1 2\r\n"),
            "");
  EXPECT_EQ(model.findBody(1)->name(), "left__arm");
  EXPECT_EQ(model.findBody(2)->name(), "");
  EXPECT_EQ(model.materialById(5)->name(), "leftarm");
  EXPECT_EQ(model.materialById(7)->name(), "material_7");
  ASSERT_EQ(model.muscles().count(), 1);
  EXPECT_EQ(model.muscles().last()->name(), "upper  arm");
  EXPECT_EQ(model.muscles().last()->bodyIds().size(), 2);
  const Bt4X4FloatMat& transform = model.findBody(1)->transform();
  EXPECT_EQ(transform(3, 1), 2.0F);
  EXPECT_EQ(transform(3, 3), 1.0F);
  for (const char* name : {"M 2 a", "m 2 a"}) {
    EXPECT_NE(PrintedScan(kBasicModel + name + std::string("\0b\n0\n", 5)), "") << "NUL in a name";
  }
}

TEST(LegacyReader, KeepsWhatItRepairs) {
  const std::string basic = Print(LegacyModel(kBasicModel.substr(kLegacyHeader.size())));
  for (const Repair& c : ReadRepairs("repaired-legacy.txt")) {
    SCOPED_TRACE(c.text);
    BaModel model;
    testing::internal::CaptureStderr();
    EXPECT_EQ(ScanInto(&model, kBasicModel + c.text), PrintedLines(c.warnings));
    EXPECT_EQ(Print(model), basic + c.written);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              c.text.find('V') == c.text.npos ? "" : "Unsupported Obj type 'V'\n");
  }
}

// Twice every body, in a time that does not grow with the square.
TEST(LegacyReader, MergesManyFlexEffects) {
  std::ostringstream text;
  text << "0 0 0 2 1";
  for (int i = 0; i < 100000; ++i) text << " 3 .5 " << i % 50000;
  const auto vertex = Scanned<BaVertex>(text.str() + " 2 1 -1");
  EXPECT_EQ(vertex.effects().count(), 50001);
  EXPECT_EQ(static_cast<const BaVertexFlexEffect*>(vertex.effects().first())->weight, 2.0F);
}

// A stream buffer whose text ends in a read error.
class BrokenBuf : public std::stringbuf {
  using std::stringbuf::stringbuf;
  int_type underflow() override { throw std::ios::failure("broken"); }
};

TEST(LegacyReader, TellsAReadErrorFromTheEnd) {
  BrokenBuf buf(kBasicModel + "# ", std::ios::in);
  std::istream is(&buf);
  BaModel model;
  model.scanFrom(is, ".");
  EXPECT_EQ(TakePrinted(), PrintedError("Error reading file."));
  EXPECT_TRUE(model.bodies().empty());
}

int records_until_cancel = 0;

TEST(LegacyReader, AsksWhetherToCancelEveryFortyRecords) {
  theExceptObj.setCancelHook([] { return --records_until_cancel == 0; });
  for (const int records : {79, 80}) {
    records_until_cancel = 2;
    std::string text = kLegacyHeader;
    for (int i = 0; i < records; ++i) text += "#\n";
    EXPECT_EQ(PrintedScan(text), records == 79 ? "" : PrintedError("Canceled."));
  }
  theExceptObj.setCancelHook(nullptr);
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
    // The one float whose shortest text, as a double, lies nearer to another float.
    if (i == 1) x = 7.0385307e-26F;
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

// Every kind of record and attribute, in the writer's order and form.
TEST(LegacyWriter, WritesEveryRecordAsItReadsItOrTellsWhichOneItCannot) {
  const std::string text = ModelText("every-record.mdl");
  BaModel model;
  ASSERT_EQ(ScanInto(&model, text), "");
  EXPECT_EQ(Print(model), text);
  std::vector<std::string> expected;
  for (const std::string part :
       {"header id", "header version", "body", "material", "lighting model", "light", "bone data",
        "triangle mesh", "textured triangle mesh", "polygon", "textured polygon",
        "flexible polygon", "muscle"}) {
    expected.push_back(PrintedError("Unable to write " + part + "."));
  }
  EXPECT_EQ(PrintedOnFullDisks(model), expected);
}

}  // namespace
