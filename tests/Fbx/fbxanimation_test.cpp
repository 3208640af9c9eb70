// Takes and user properties in the records of both binary families.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <map>

#include "Fbx/kfbxanimstack.h"
#include "Fbx/kfbxdeformer.h"
#include "Fbx/kfbxmesh.h"
#include "Fbx/kfbxnode.h"
#include "fbxfamily.h"
#include "testscene.h"

namespace {

using Numbers = std::vector<double>;
// The keys of a curve: times, then values.
using Keys = std::pair<Numbers, Numbers>;
// By take, object, property and, of a vector, axis.
using Curves = std::map<std::string, Keys>;

constexpr const char* kAxes[] = {"X", "Y", "Z"};

Keys KeysOf71(const FbxRecord& curve) {
  const Numbers& times = curve.child("KeyTime").numbers;
  EXPECT_EQ(curve.child("KeyVer").integer(), 4007);
  EXPECT_EQ(curve.child("KeyAttrFlags").numbers, Numbers{0x2104});
  EXPECT_EQ(curve.child("KeyAttrDataFloat").numbers.size(), 4U);
  EXPECT_EQ(curve.child("KeyAttrRefCount").numbers, Numbers{static_cast<double>(times.size())});
  return {times, curve.child("KeyValueFloat").numbers};
}

// Follows the connections from each curve up to its stack, and to what it moves.
Curves Curves71(const Family& family, const FbxFile& file) {
  std::map<std::int64_t, const FbxRecord*> objects;
  for (const FbxRecord& object : file.main.child("Objects").children) {
    objects[object.integer()] = &object;
  }
  const auto name = [&](const FbxRecord& object) {
    const std::string text = family.name(object);
    return text.substr(0, text.find('\0'));
  };
  std::multimap<std::int64_t, const FbxRecord*> parents;
  for (const FbxRecord& c : file.main.child("Connections").children) {
    parents.emplace(c.integer(1), &c);
  }
  const auto up = [&](const FbxRecord& object, const std::string& type) {
    const auto [first, last] = parents.equal_range(object.integer());
    for (auto i = first; i != last; ++i) {
      const FbxRecord& parent = *objects.at(i->second->integer(2));
      if (parent.name.starts_with("Animation") == type.starts_with("Animation")) {
        return std::pair(&parent, i->second);
      }
    }
    ADD_FAILURE() << "no " << type << " above " << family.name(object);
    return std::pair<const FbxRecord*, const FbxRecord*>(&object, nullptr);
  };
  Curves curves;
  for (const FbxRecord* curve : file.main.child("Objects").all("AnimationCurve")) {
    const auto [node, axis] = up(*curve, "AnimationCurveNode");
    const auto [layer, to_layer] = up(*node, "AnimationLayer");
    const auto [stack, to_stack] = up(*layer, "AnimationStack");
    const auto [object, property] = up(*node, "");
    EXPECT_EQ(family.property(*node, axis->text(3)).size(), 1U) << axis->text(3);
    const std::string suffix = axis->text(3).size() == 3 ? axis->text(3).substr(1) : "";
    curves[name(*stack) + "/" + name(*object) + "/" + property->text(3) + suffix] =
        KeysOf71(*curve);
  }
  return curves;
}

Keys KeysOf61(const FbxRecord& channel) {
  EXPECT_EQ(channel.child("Color").numbers, (Numbers{1, 1, 1}));
  if (channel.all("Key").empty()) return {{}, channel.child("Default").numbers};
  const auto& values = channel.child("Key").values;
  EXPECT_EQ(channel.child("KeyVer").integer(), 4005);
  EXPECT_EQ(channel.child("KeyCount").integer() * 3, std::ssize(values));
  Keys keys;
  for (std::size_t i = 0; i < values.size(); i += 3) {
    EXPECT_EQ(std::string({values[i].code, values.at(i + 1).code, values.at(i + 2).code}), "LDC");
    EXPECT_EQ(values[i + 2].integer, 'L');
    keys.first.push_back(values[i].number);
    keys.second.push_back(values[i + 1].number);
  }
  return keys;
}

Curves Curves61(const Family& family, const FbxFile& file) {
  Curves curves;
  for (const FbxRecord* take : file.main.child("Takes").all("Take")) {
    for (const FbxRecord* model : take->all("Model")) {
      (void)family.object(file, model->text());
      const std::string start =
          take->text() + "/" + model->text().substr(0, model->text().find('\0'));
      for (const FbxRecord* channel : model->all("Channel")) {
        if (channel->text() != "Transform") {
          curves[start + "/" + channel->text()] = KeysOf61(*channel);
          continue;
        }
        for (const FbxRecord* vector : channel->all("Channel")) {
          const bool turns = vector->text() == "R";
          EXPECT_EQ(vector->child("LayerType").integer(), turns ? 2 : 1);
          const auto axes = vector->all("Channel");
          EXPECT_EQ(axes.size(), 3U);
          for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(axes.at(i)->text(), kAxes[i]);
            curves[start + (turns ? "/Lcl Rotation|" : "/Lcl Translation|") + kAxes[i]] =
                KeysOf61(*axes[i]);
          }
        }
      }
    }
  }
  return curves;
}

Numbers AsDoubles(const auto& list) { return {list.begin(), list.end()}; }

TEST(FbxAnimation, WritesTheKeysOfEveryTake) {
  const TestScene scene;
  scene.addTake("a walk");
  KFbxAnimStack* second = scene.addTake("a walk");
  second->LocalStop.Set(3 * KTIME_ONE_SECOND);
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.scene, family.format);
    ExpectSoundObjects(family, file);
    const Numbers times = AsDoubles(kTakeTimes);
    // What never changes has one key in one family, unless it turns with what changes, and no key
    // in the other.
    const Keys constant[] = {{family.has_ids ? Numbers{times.front()} : Numbers{}, {7}},
                             family.has_ids ? Keys{times, {7, 7, 7}} : Keys{{}, {7}}};
    Curves wanted;
    for (const char* take : {"a walk/", "a walk_ncl1_1/"}) {
      for (const bool turns : {false, true}) {
        const std::string property =
            std::string(take) + (turns ? "spine/Lcl Rotation|" : "spine/Lcl Translation|");
        wanted[property + "X"] = wanted[property + "Z"] = constant[turns ? 1 : 0];
        wanted[property + "Y"] = {times, AsDoubles(kTakeValues)};
      }
      wanted[std::string(take) + (family.has_ids ? "smile/DeformPercent" : "hips_mesh/smile")] = {
          times, AsDoubles(kTakeValues)};
    }
    EXPECT_EQ((family.has_ids ? Curves71 : Curves61)(family, file), wanted);

    const FbxRecord& takes = file.main.child("Takes");
    EXPECT_EQ(takes.child("Current").text(), "a walk");
    ASSERT_EQ(takes.all("Take").size(), 2U);
    const Numbers range = {times.front(), 3.0 * KTIME_ONE_SECOND};
    EXPECT_EQ(takes.all("Take")[1]->child("LocalTime").numbers, range);
    EXPECT_EQ(takes.all("Take")[1]->child("FileName").text(), "a_walk_ncl1_1.tak");
    if (family.has_ids) {
      const FbxRecord& stack = family.object(file, Named("a walk_ncl1_1", "AnimStack"));
      EXPECT_EQ(family.property(stack, "LocalStart"), Numbers{range[0]});
      EXPECT_EQ(family.property(stack, "ReferenceStop"), Numbers{range[1]});
    } else {
      const FbxRecord& listed = file.extension.child("Summary").child("Takes");
      ASSERT_EQ(listed.all("Take").size(), 2U);
      EXPECT_EQ(listed.all("Take")[1]->child("ReferenceTime").numbers, range);
    }
  }
}

const FbxRecord& GlobalSettings(const Family& family, const FbxFile& file) {
  return (family.has_ids ? file.main : file.main.child("Objects")).child("GlobalSettings");
}

TEST(FbxAnimation, StatesRateAndRange) {
  const struct {
    double rate;
    double mode, custom;  // 0 for no record
    const char* text;
  } cases[] = {
      {0, 6, 0, "30"},  // a scene that has takes, but states no rate
      {23.976, 13, 0, "23.976"},
      {24000 / 1001.0, 13, 0, "23.976"},
      {24, 11, 0, "24"},
      {25, 10, 0, "25"},
      {29.97, 9, 0, "29.97"},
      {30000 / 1001.0, 9, 0, "29.97"},
      {30, 6, 0, "30"},
      {48, 5, 0, "48"},
      {50, 4, 0, "50"},
      {60000 / 1001.0, 14, 59.94, "59.94"},
      {60, 3, 0, "60"},
      {100, 2, 0, "100"},
      {119.88, 14, 119.88, "119.88"},
      {120, 1, 0, "120"},
      {240, 14, 240, "240"},
      {12.5, 14, 12.5, "12.5"},
      {1000, 12, 0, "1000"},
  };
  const TestScene scene;
  scene.addTake("walk");
  for (const auto& c : cases) {
    if (c.rate > 0) scene.scene->SetFrameRate(KFbxFrameRate(c.rate));
    for (const Family& family : kFamilies) {
      const FbxFile file = Exported(scene.scene, family.format);
      const FbxRecord& settings = GlobalSettings(family, file);
      EXPECT_EQ(family.property(settings, "TimeMode"), Numbers{c.mode}) << c.rate;
      EXPECT_EQ(family.property(settings, "CustomFrameRate"),
                c.custom > 0 ? Numbers{c.custom} : Numbers{});
      EXPECT_EQ(family.property(settings, "TimeSpanStart"), Numbers{0.5 * KTIME_ONE_SECOND});
      EXPECT_EQ(family.property(settings, "TimeSpanStop"), Numbers{2.0 * KTIME_ONE_SECOND});
      if (family.has_ids) continue;
      const FbxRecord& older = file.main.child("Version5").child("Settings");
      EXPECT_EQ(older.child("FrameRate").text(), c.text);
      EXPECT_EQ(older.child("TimeLineStartTime").integer(), KTIME_ONE_SECOND / 2);
      EXPECT_EQ(older.child("TimeLineStopTime").integer(), 2 * KTIME_ONE_SECOND);
    }
  }
  EXPECT_EQ(KTimeOfSeconds(10000 * 1001 / 30000.0), 15410781386000);
  EXPECT_EQ(KTimeOfSeconds(-1e300), -KTimeOfSeconds(1e300));
}

// Long lists are packed, and those of one length but other times must not be mixed up.
TEST(FbxAnimation, KeepsLongListsApart) {
  constexpr std::size_t kKeys = 5000;
  const ScenePtr scene = NewScene();
  KFbxNode* node = AddNode(scene.get(), "node");
  Curves wanted;
  for (const char* name : {"a", "b", "a2"}) {
    std::vector<KTime> times(kKeys);
    std::vector<float> values(kKeys);
    for (std::size_t i = 0; i < kKeys; ++i) {
      times[i] = static_cast<KTime>(i * (name[0] == 'a' ? 1539538600 : 1539538601));
      values[i] = static_cast<float>(i) + static_cast<float>(name[0]);
    }
    KFbxAnimStack* take = KFbxAnimStack::Create(scene.get(), name);
    take->LocalStop.Set(times.back());
    const auto shared = std::make_shared<std::vector<KTime>>(times);
    KFbxAnimCurveNode* curves = take->GetCurveNode(node, KFbxAnimCurveNode::eROTATION);
    for (int i = 0; i < 3; ++i) {
      values[1] = static_cast<float>(i);
      curves->GetCurve(i)->SetKeys(shared, values);
      wanted[std::string(name) + "/node/Lcl Rotation|" + kAxes[i]] = {AsDoubles(times),
                                                                      AsDoubles(values)};
    }
    scene->AddAnimStack(take);
  }
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.get(), family.format);
    EXPECT_TRUE((family.has_ids ? Curves71 : Curves61)(family, file) == wanted);
  }
}

TEST(FbxAnimation, RefusesWhatCannotBePlayed) {
  const auto times = [](std::vector<KTime> list) {
    return std::make_shared<std::vector<KTime>>(std::move(list));
  };
  const auto curve = [](KFbxAnimStack* take) { return take->GetCurveNodes()[0]->GetCurve(0); };
  const std::pair<const char*, std::function<void(TestScene&, KFbxAnimStack*)>> cases[] = {
      {"a curve has no keys",
       [](auto& s, auto* take) { take->GetCurveNode(s.head, KFbxAnimCurveNode::eROTATION); }},
      {"the keys of a curve are not in the order of time",
       [&](auto&, auto* take) {
         curve(take)->SetKeys(times({0, 5, 5}), {0, 1, 2});
       }},
      {"a key is not finite",
       [&](auto&, auto* take) {
         curve(take)->SetKeys(times({0, 5}), {0, NAN});
       }},
      {"it ends before it starts", [](auto&, auto* take) { take->LocalStop.Set(0); }},
      {"it moves a node outside of the scene",
       [](auto& s, auto*) { KFbxNode::Create(s.scene, "other")->AddChild(s.hips); }},
      {"a user property is not finite",
       [](auto& s, auto*) { s.head->SetUserProperty("p", INFINITY); }},
  };
  for (const auto& [reason, spoil] : cases) {
    for (const Family& family : kFamilies) {
      TestScene scene;
      spoil(scene, scene.addTake("walk"));
      EXPECT_EQ(SavedBytes(scene.scene, family.format), "");
      const std::string error(TakeMessage());
      EXPECT_NE(error.find(reason), std::string::npos) << error;
    }
  }
}

TEST(FbxUserProperties, StandBehindTheNodesOwn) {
  const TestScene scene;
  scene.head->SetUserProperty("bodyId", 3);
  scene.head->SetUserProperty("bodyId", 12);
  scene.head->SetUserProperty("weight", 0.25);
  scene.head->SetUserProperty("r\xF6tation", "v12 * -0.5\n+ 3");
  scene.head->SetUserProperty("Visibility", 1);
  scene.mesh_node->SetUserProperty("smile", 2);
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.scene, family.format);
    const FbxRecord& head = family.object(file, Named("head", "Model"));
    const FbxRecord& list = head.child(family.has_ids ? "Properties70" : "Properties60");
    std::vector<std::string> found;
    for (const FbxRecord& row : list.children) {
      const std::string flags = row.text(family.has_ids ? 3 : 2);
      if (flags.find('U') == std::string::npos) {
        // Only what belongs to the bone itself may follow.
        EXPECT_TRUE(found.empty() || flags.find('N') != std::string::npos) << row.text();
        continue;
      }
      const FbxReadValue& value = row.values.back();
      found.push_back(
          row.text() + " " + row.text(1) + " " +
          (value.code == 'S' ? std::string(value.bytes) : std::to_string(value.number)));
    }
    EXPECT_EQ(found, (std::vector<std::string>{"bodyId int 12.000000", "weight double 0.250000",
                                               "rötation KString v12 * -0.5\n+ 3",
                                               "Visibility_ncl1_1 int 1.000000"}));
    const FbxRecord& mesh = family.object(file, Named("hips_mesh", "Model"));
    EXPECT_EQ(family.property(mesh, "smile_ncl1_1"), Numbers{2});
  }
}

}  // namespace
