// The legacy writer, and reading back what it wrote.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "balegacytestutil.h"

namespace {

// Every kind of record and attribute, in the writer's order and form.
constexpr const char* kEverything =
    R"(Zov Graphic Model File
v1.30
   X
 hips
 3
 ReferenceSystemZero
 0
  1.000000  0.000000  0.000000
  0.000000  -1.000000  0.500000
  0.000000  0.000000  1.000000
  1000.125000  0.000000  -0.333333
   X
 spine
 5
 hips
 3
  1.000000  0.000000  0.000000
  0.000000  1.000000  0.000000
  0.000000  0.000000  1.000000
  0.000000  0.000000  0.000000
   X
 left_leg
 7
 hips
 3
  1.000000  0.000000  0.000000
  0.000000  1.000000  0.000000
  0.000000  0.000000  1.000000
  0.000000  0.000000  0.000000
   X
 left_foot
 2
 left_leg
 7
  1.000000  0.000000  0.000000
  0.000000  1.000000  0.000000
  0.000000  0.000000  1.000000
  0.000000  0.000000  0.000000
M   4 skin
 7 0.5
 1 0 0.1 1e-09
 2 0.2 0.2 0.2
 3 1 0.9 0.8
 4 1 1 1
 5 3e+30
 100 1 "C:\\it's \
a\\b.png" -1
 101 1
 0
M   -2 plain
 0
G   1 1
 202 1 2
 2 0.1 0.1 0.1
 201 1
 0
I   2 0
 104 12 45
 2 0 0 0
 101 1 1 1
 102 0 0 1 0
 103 0 0 -1
 0
B 7 4 0 0 0 0 -16.5 0
T 3 -2 3
 0 0 0 0 -1
 1 1 0 0 2 0.25 3 0.5 7 -1
 -7 0 1 0 -1
t 3 4 1
 0.5 0.25 2 0 0 0 -1
F 3 4 3
 0 0 0 0 1 2 3 4 5 6 7 8 9 -1
 1 0 0 1 1 2 3 4 5 6 -1
 0 1 0 3 0.125 5 2 0.5 -1
S P 3 4 3
 0 0 0 0 0 -1
 1 0 1 0 0 3 1 99 -1
 0 1 0 1 0 -1
P 3 4 3
 0 0 0 0 0 -1
 1 0 1 0 0 -1
 0 1 0 1 0 -1
f   3 4 2 9
 1 0 0 0 -1
 2 0 0 0 -1
m 12 left calf
 7 2 99
)";

TEST(LegacyWriter, WritesEveryRecordAsItReadsIt) {
  BaModel model;
  ASSERT_EQ(ScanInto(&model, kEverything), "");
  EXPECT_EQ(Printed(model), kEverything);
}

TEST(LegacyWriter, WritesVersionsAndUnlinkedBodiesInOneForm) {
  BaModel model;
  ASSERT_EQ(ScanInto(&model, "Zov Graphic Model File\nv1.10\nM 1 m\n0"), "");
  EXPECT_EQ(Printed(model), "Zov Graphic Model File\nv1.30\nM   1 m\n 0\n");
  BaBody body;
  body.setName("loose");
  body.setId(4);
  body.setParentId(8);
  std::ostringstream os;
  os << std::hex << std::showpos << std::scientific;  // other users of the stream
  body.printOn(os);
  EXPECT_EQ(os.str().substr(0, 43), "   X\n loose\n 4\n <NOT_YET_ASSIGNED>\n 8\n  1.0");
}

// Any float at all comes back as the same bits.
TEST(LegacyWriter, KeepsEveryFloat) {
  std::mt19937 random(20120714);
  std::ostringstream os;
  std::vector<float> written = {0.0F, -0.0F, 1.17549435e-38F, 1e-45F, 3.4028235e38F, 16777217.0F};
  while (written.size() < 30000) {
    const float value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    if (std::isfinite(value)) written.push_back(value);
  }
  BaTMesh mesh(1, 1);
  BtDArray<BaVertex> vertices(static_cast<int>(written.size()) / 3);
  for (int i = 0; i < vertices.size(); ++i) {
    const float* const xyz = &written[3 * static_cast<std::size_t>(i)];
    vertices[i].setPosition(xyz[0], xyz[1], xyz[2]);
  }
  mesh.setVertices(vertices);
  mesh.printOn(os);
  std::istringstream is(os.str());
  is.get();  // the record letter
  BaTMesh read;
  ASSERT_TRUE(read.scanFrom(is));
  for (std::size_t i = 0; i < written.size(); ++i) {
    const float value = read.vertices()[static_cast<int>(i / 3)].position()[i % 3];
    ASSERT_EQ(std::bit_cast<std::uint32_t>(value), std::bit_cast<std::uint32_t>(written[i])) << i;
  }
}

TEST(LegacyWriter, KeepsEveryTextureFileName) {
  for (const char* name :
       {"", "a b", "a\"b", "a\"'b", "\"'|^~", "\\", "\\\"", "a\nb", " a ", "\t"}) {
    BaTexture texture;
    texture.setFileName(name);
    std::stringstream text;
    texture.printOn(text);
    BaTexture read;
    ASSERT_TRUE(read.scanFrom(text)) << name;
    EXPECT_EQ(read.fileName(), name);
  }
}

TEST(LegacyWriter, TellsWhatItCouldNotWrite) {
  // The stream takes this many characters.
  class FullBuf : public std::stringbuf {
   public:
    explicit FullBuf(std::size_t room) : _room(room) {}

   protected:
    int_type overflow(int_type c) override { return _room-- == 0 ? traits_type::eof() : c; }
    std::streamsize xsputn(const char* /*text*/, std::streamsize n) override {
      const auto taken = std::min(static_cast<std::size_t>(n), _room);
      _room -= taken;
      return static_cast<std::streamsize>(taken);
    }

   private:
    std::size_t _room;
  };
  BaModel model;
  ASSERT_EQ(ScanInto(&model, kEverything), "");
  const std::string text = kEverything;
  const struct {
    const char* last_written;
    const char* error;
  } cases[] = {
      {"Zov", "Unable to write header id."},
      {"File\nv1", "Unable to write header version."},
      {" left_leg", "Unable to write body."},
      {"M ", "Unable to write material."},
      {"G ", "Unable to write lighting model."},
      {"I ", "Unable to write light."},
      {"B ", "Unable to write bone data."},
      {"T ", "Unable to write triangle mesh."},
      {"\nt ", "Unable to write textured triangle mesh."},
      {"F 3", "Unable to write polygon."},
      {"S P", "Unable to write textured polygon."},
      {"\nf ", "Unable to write flexible polygon."},
      {"\nm ", "Unable to write muscle."},
  };
  for (const auto& c : cases) {
    FullBuf buf(text.find(c.last_written) + std::string(c.last_written).size());
    std::ostream os(&buf);
    model.printOn(os);
    EXPECT_EQ(TakePrinted(), PrintedError(c.error)) << c.last_written;
  }
}

std::string SampleText(const std::string& name) {
  std::ifstream is(std::string(KESTRIX_SAMPLES) + "/" + name + ".mdl", std::ios::binary);
  return {std::istreambuf_iterator<char>(is), std::istreambuf_iterator<char>()};
}

TEST(LegacySamples, ReadBackAsWritten) {
  const struct {
    const char* name;
    int bodies, materials, polygons, textured_polygons, bones;
  } cases[] = {
      {"fox", 24, 2, 0, 576, 22}, {"robot", 43, 4, 3234, 0, 42}, {"walker", 75, 2, 80, 0, 90}};
  for (const auto& c : cases) {
    BaModel model;
    const std::string path = std::string(KESTRIX_SAMPLES) + "/" + c.name + ".mdl";
    model.read(path.c_str());
    ASSERT_EQ(TakePrinted(), "");
    int bodies = -1;
    for (const auto& body : model.bodies()) bodies += body != nullptr ? 1 : 0;
    EXPECT_EQ(bodies, c.bodies);
    EXPECT_EQ(model.materials().count(), c.materials);
    EXPECT_EQ(model.polygons().size(), c.polygons);
    EXPECT_EQ(model.texturedPolygons().size(), c.textured_polygons);
    EXPECT_EQ(model.bones().size(), c.bones);
    BaModel again;
    ASSERT_EQ(ScanInto(&again, Printed(model)), "");
    EXPECT_EQ(Printed(again), Printed(model)) << c.name;
  }
}

// A file that ends too early is an error or, between two records, a smaller model; never a crash.
TEST(LegacySamples, CutAnywhereAreReadOrRefused) {
  for (const char* name : {"fox", "robot", "walker"}) {
    const std::string text = SampleText(name);
    ASSERT_FALSE(text.empty());
    constexpr std::size_t kCuts = 200;
    int refused = 0;
    for (std::size_t i = 0; i < kCuts; ++i) {
      BaModel model;
      const bool error = !ScanInto(&model, text.substr(0, text.size() * i / kCuts)).empty();
      EXPECT_EQ(error, model.bodies().empty());
      refused += error ? 1 : 0;
    }
    EXPECT_GT(refused, 50) << name;
  }
}

}  // namespace
