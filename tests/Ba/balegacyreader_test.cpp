// The legacy reader: what it refuses and in which words, what it warns of, what it keeps.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "Ba/modeltexts.h"
#include "bamodelheader.h"

namespace {

std::string PrintedScan(const std::string& text) {
  BaModel model;
  return ScanInto(&model, text);
}

TEST(LegacyReader, RefusesBadFiles) {
  for (const ErrorCase& c : LegacyErrors()) {
    BaModel model;
    EXPECT_EQ(ScanInto(&model, c.text), PrintedError(c.lines)) << c.text;
    EXPECT_TRUE(model.bodies().empty() && model.materials().empty()) << c.text;
  }
}

TEST(LegacyReader, AcceptsWhatIsNearlyRefused) {
  const std::string head = "Zov Graphic Model File\nv1.10\n";
  EXPECT_EQ(PrintedScan(head + "M 1 m\n100 1 'a' 3 -1 0"), "");
  EXPECT_EQ(PrintedScan(head + Body(1, "child", 2) + Body(2, "parent", 0)), "");
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
  for (const std::string& text : LegacyHugeCounts()) EXPECT_NE(PrintedScan(text), "") << text;
  BaModel model;
  EXPECT_EQ(ScanInto(&model, kBasicModel + Body(4194303, "b", 1)), "");
  EXPECT_EQ(model.bodies().size(), 4194304);
}

// A file that ends too early is an error or, between two records, a smaller model; never a crash.
TEST(LegacyReader, CutFiles) {
  const std::string text = ModelText("every-record.mdl");
  for (std::size_t length = 0; length < text.size(); ++length) {
    BaModel model;
    const bool error = !ScanInto(&model, text.substr(0, length)).empty();
    EXPECT_EQ(error, model.bodies().empty()) << length;
  }
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

TEST(LegacyReader, CutsLongLinesAsLegacyFilesDo) {
  const std::string a80(80, 'a');
  EXPECT_EQ(PrintedScan(kBasicModel + "#" + a80.substr(1) + "\nM 2 m\n0\n"), "");
  // The character behind the limit begins the next record.
  EXPECT_EQ(PrintedScan(kBasicModel + "#" + a80 + "M 2 m\n0\n"), "");
  BaModel model;
  ASSERT_EQ(ScanInto(&model, kBasicModel + "m 1" + a80 + "bcd\n1\n"), "");
  EXPECT_EQ(model.muscles().last()->name(), BtStr(std::string_view(a80)));
}

TEST(LegacyReader, ReadsTextureFileNamesBetweenAnyDelimiters) {
  const char* const cases[][2] = {{"'a b.png'", "a b.png"},
                                  {"  \"it's.png\"", "it's.png"},
                                  {"xa\\xb.pngx", "axb.png"},
                                  {"'C:\\\\d\\\\a.png'", "C:\\d\\a.png"},
                                  {"''", ""},
                                  {"\\a.png\\", "a.png"}};
  for (const auto& [written, name] : cases) {
    const LegacyModel model(std::string("M 2 m\n100 1 ") + written + " 1 2 -1\n0\n");
    EXPECT_EQ(model.materialById(2)->texture().fileName(), name) << written;
  }
}

// Letters stand for positions, each corner with a texture coordinate and an effect.
std::string PolygonOf(const std::string& corners, bool textured) {
  std::ostringstream os;
  os << (textured ? "P 1 1 " : "F 1 1 ") << corners.size();
  for (const char corner : corners) {
    const int x = static_cast<unsigned char>(corner);
    if (textured) os << ' ' << x << " 0";
    os << ' ' << x << " 0 0 2 1 -1";
  }
  return os.str();
}

TEST(LegacyReader, WarnsOfPolygonsThatItRepairs) {
  const std::string d = "|Duplicate vertex removed in polygon.";
  const std::string g = "|Degnerate polygon in model.";
  const struct {
    const char* corners;
    const char* kept;
    std::string warnings;
  } cases[] = {
      {"pqr", "pqr", ""},      {"ppqrp", "pqr", d + d},
      {"pqqqr", "pqr", d + d}, {"pqrpp", "pqr", d + d},
      {"pqpr", "pqpr", ""},    {"pqp", "pq", g + d},
      {"ppp", "p", g + d + d}, {"", "", g},
  };
  for (const auto& c : cases) {
    for (const bool textured : {false, true}) {
      SCOPED_TRACE(c.corners);
      BaModel model;
      EXPECT_EQ(ScanInto(&model, kBasicModel + PolygonOf(c.corners, textured)),
                c.warnings.empty() ? "" : PrintedWarning(c.warnings.substr(1)));
      const BaPolygon& polygon = textured ? *model.texturedPolygons()[0] : *model.polygons()[0];
      std::string kept;
      for (int i = 0; i < polygon.numVertices(); ++i) {
        const float x = polygon.vertices()[i].position()[0];
        kept += static_cast<char>(x);
        EXPECT_EQ(polygon.vertices()[i].effects().count(), 1);
        if (textured) {
          EXPECT_EQ(model.texturedPolygons()[0]->textureCoords()[i].u, x);
        }
      }
      EXPECT_EQ(kept, c.kept);
    }
  }
}

TEST(LegacyReader, ClipsSpotExponents) {
  const auto warning = [](const std::string& read, const std::string& clipped) {
    return PrintedWarning("Spot light exponent (" + read + ") should be between 0.0 and 128.0. |" +
                          "Value clipped to " + clipped + ".|Warning while reading light id 3.");
  };
  EXPECT_EQ(PrintedScan(kBasicModel + "I 3 1 104 128.5 30 0"), warning("128.500000", "128.000000"));
  EXPECT_EQ(PrintedScan(kBasicModel + "I 3 1 104 -1 30 0"), warning("-1.000000", "0.000000"));
  EXPECT_EQ(PrintedScan(kBasicModel + "I 3 1 104 128 30 104 0 5 0"), "");
}

TEST(LegacyReader, MergesFlexEffects) {
  const char* const cases[][2] = {
      {"2 .25 2 .5", "2 0.75"},
      {"3 .25 1 3 .5 1", "3 0.75 1"},
      {"3 .25 1 3 .5 2 2 .125 3 .25 1", "3 0.5 1 3 0.5 2 2 0.125"},
      {"2 3e38 2 3e38", "2 3.4028235e+38"},
      {"1 1 2 3 4 5 6 1 1 2 3 4 5 6", "1 1 2 3 4 5 6 1 1 2 3 4 5 6"},
      {"0 1 2 3 4 5 6 7 8 9", "0 1 2 3 4 5 6 7 8 9"},
  };
  for (const auto& [read, kept] : cases) {
    const auto vertex = Scanned<BaVertex>(std::string("1 2 3 ") + read + " -1");
    EXPECT_EQ(Print(vertex), std::string(" 1 2 3 ") + kept + " -1");
  }
  // Many of them: twice every body, in a time that does not grow with the square.
  std::ostringstream text;
  text << "0 0 0 2 1";
  for (int i = 0; i < 100000; ++i) text << " 3 .5 " << i % 50000;
  const auto vertex = Scanned<BaVertex>(text.str() + " 2 1 -1");
  EXPECT_EQ(vertex.effects().count(), 50001);
  EXPECT_EQ(static_cast<const BaVertexFlexEffect*>(vertex.effects().first())->weight, 2.0F);
}

TEST(LegacyReader, PassesOverPrefixesAndUnsupportedLetters) {
  const std::string p = "P 1 1 3 0 0 0 0 0 -1 0 0 1 0 0 -1 0 0 0 1 0 -1 ";
  BaModel model;
  testing::internal::CaptureStderr();
  ASSERT_EQ(ScanInto(&model, kBasicModel + "S" + p + p + "S\nS " + p + "S # dropped\n" + p + "VV" +
                                 p + "S"),
            "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Unsupported Obj type 'V'\nUnsupported Obj type 'V'\n");
  std::string flags;
  for (const auto& polygon : model.texturedPolygons()) flags += std::to_string(polygon->sFlag());
  EXPECT_EQ(flags, "10100");
}

TEST(LegacyReader, NamesTheFile) {
  BaModel model;
  model.read("/nonexistent/a.mdl");
  EXPECT_EQ(TakePrinted(), PrintedError("Unable to open '/nonexistent/a.mdl'."));
  model.read("/dev/null");
  EXPECT_EQ(TakePrinted(),
            PrintedError("Unable to read '/dev/null'.|"
                         "File is not a valid Zov Graphic Model File.|Unable to read from file."));
}

// A stream buffer whose text ends in a read error.
class BrokenBuf : public std::stringbuf {
 public:
  using std::stringbuf::stringbuf;

 protected:
  int_type underflow() override {
    const int_type c = std::stringbuf::underflow();
    if (traits_type::eq_int_type(c, traits_type::eof())) throw std::ios::failure("broken");
    return c;
  }
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
  records_until_cancel = 2;
  std::string text = "Zov Graphic Model File\nv1.00\n";
  for (int i = 0; i < 79; ++i) text += "#\n";
  BaModel model;
  EXPECT_EQ(ScanInto(&model, text), "");
  records_until_cancel = 2;
  EXPECT_EQ(ScanInto(&model, text + "#\n"), PrintedError("Canceled."));
  EXPECT_TRUE(model.bodies().empty());
  theExceptObj.setCancelHook(nullptr);
}

}  // namespace
