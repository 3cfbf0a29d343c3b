// Transforms and materials: what a node answers, and how attributes combine along the path from the root.
#include <gmock/gmock.h>

#include "tests/jttk/model/loaded.h"

namespace {

namespace pieces = loftbay::maker::pieces;
using jttk::testing::Loaded;
using jttk::testing::materialOf;
using jttk::testing::moveOf;
using jttk::testing::redOf;
using jttk::testing::shapeOf;
using jttk::testing::transformOf;
using loftbay::maker::pieces::GraphBuilder;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint8_t kFinal = 1;
constexpr std::uint8_t kForce = 2;
constexpr std::uint8_t kIgnore = 4;

GraphBuilder::Material red(float value, std::uint8_t state = 8, std::uint32_t inhibited = 0) {
  GraphBuilder::Material material;
  material.diffuse = {value, 0, 0, 1};
  material.state = state;
  material.inhibited = inhibited;
  return material;
}

using GetColor = void (JtkMaterial::*)(float*&);

std::vector<float> colorOf(JtkHierarchy* node, GetColor get) {
  float* rgba = nullptr;
  (materialOf(node)->*get)(rgba);
  return {rgba, rgba + 4};
}

float shininessOf(JtkHierarchy* node) {
  float shininess = 0;
  materialOf(node)->getShininess(shininess);
  return shininess;
}

// root (0): part (1) with shape (2); `attributes` hang on the nodes.
void onePart(GraphBuilder& graph, pieces::Ids root, pieces::Ids part, pieces::Ids shape = {}) {
  graph.partition(0, {1, 9}).name("root").attributes(std::move(root));
  graph.part(1, {2}).name("part").attributes(std::move(part));
  graph.triStrips(2).attributes(std::move(shape));
  graph.part(9, {}).name("other");
}

TEST(Transforms, AreThoseOfTheNodesOwnAttributesAndNullWithout) {
  GraphBuilder graph;
  graph.move(20, 1, 2, 3);
  onePart(graph, {}, {20});
  const Loaded model(graph);
  EXPECT_THAT(transformOf(model.root()), IsEmpty());
  EXPECT_THAT(transformOf(model.at({0})), ElementsAre(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1));
}

TEST(Transforms, AnIdentityIsATransformToo) {
  GraphBuilder graph;
  graph.move(20, 0, 0, 0);
  onePart(graph, {}, {20});
  const Loaded model(graph);
  EXPECT_THAT(moveOf(model.at({0})), ElementsAre(0, 0, 0));
}

TEST(Transforms, ElementsAreRowMajorWithTheTranslationLast) {
  GraphBuilder graph;
  graph.transform(20, {2, 3, 4, 0, 5, 6, 7, 0, 8, 9, 10, 0, 11, 12, 13, 1});
  onePart(graph, {}, {20});
  const Loaded model(graph);
  EXPECT_THAT(transformOf(model.at({0})), ElementsAre(2, 3, 4, 0, 5, 6, 7, 0, 8, 9, 10, 0, 11, 12, 13, 1));
}

TEST(Transforms, SeveralOnOneNodeAreMultipliedTheLaterOneFirst) {
  GraphBuilder graph;
  graph.move(20, 1, 0, 0);
  graph.transform(21, {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1});
  onePart(graph, {}, {20, 21});
  const Loaded model(graph);
  EXPECT_THAT(moveOf(model.at({0})), ElementsAre(1, 0, 0));
  EXPECT_EQ(transformOf(model.at({0}))[0], 2);
}

TEST(Transforms, OfGroupsBelongToTheNodesBelow) {
  GraphBuilder graph;
  graph.move(20, 1, 0, 0);
  graph.move(21, 0, 1, 0);
  graph.move(22, 0, 0, 1);
  graph.partition(0, {1, 6}).name("root");
  graph.group(1, {2, 3}).attributes({20});
  graph.group(2, {4}).attributes({21});
  graph.part(3, {}).name("plain");
  graph.part(4, {}).name("moved").attributes({22});
  graph.instance(6, 1).name("group");
  const Loaded model(graph);
  EXPECT_THAT(moveOf(model.at({0})), ElementsAre(1, 1, 1));
  EXPECT_THAT(moveOf(model.at({1})), ElementsAre(1, 0, 0));
  // The same group behind an instance is an assembly; its transform still belongs to what is below.
  EXPECT_THAT(moveOf(Loaded::target(model.at({2}))), IsEmpty());
  EXPECT_THAT(moveOf(model.at({2, 0})), ElementsAre(1, 1, 1));
}

TEST(Transforms, OfNodesThatAreOneAreMultiplied) {
  GraphBuilder graph;
  graph.move(20, 1, 0, 0);
  graph.move(21, 0, 1, 0);
  graph.move(22, 0, 0, 1);
  graph.partition(0, {1}).attributes({20});
  graph.group(1, {2}).attributes({21});
  graph.metaData(2, {}).attributes({22});
  EXPECT_THAT(moveOf(Loaded(graph).root()), ElementsAre(1, 1, 1));
}

TEST(Transforms, IgnoredOnesHaveNoEffectAndFinalOnesEndTheChainUnlessForced) {
  GraphBuilder graph;
  graph.move(20, 1, 0, 0, kIgnore);
  graph.move(21, 2, 0, 0, kFinal);
  graph.move(22, 3, 0, 0);
  graph.move(23, 4, 0, 0, kForce);
  graph.partition(0, {1, 2}).name("root");
  graph.part(1, {}).attributes({20}).name("a");
  graph.metaData(2, {3, 4}).attributes({21}).name("b");
  graph.part(3, {}).attributes({22}).name("c");
  graph.part(4, {}).attributes({23}).name("d");
  const Loaded model(graph);
  EXPECT_THAT(moveOf(model.at({0})), IsEmpty());
  EXPECT_THAT(moveOf(model.at({1})), ElementsAre(2, 0, 0));
  EXPECT_THAT(moveOf(model.at({1, 0})), IsEmpty());
  EXPECT_THAT(moveOf(model.at({1, 1})), ElementsAre(4, 0, 0));
}

// Doubles from 9 on, with whatever follows them; floats in 8.
TEST(Transforms, MayHaveBytesBehindTheirElements) {
  for (const char* version : {"8.1", "9.5", "10.0"}) {
    for (const std::size_t count : {0U, 4U, 8U, 20U}) {
      if (version[0] == '8' && count == 4) continue;  // as long as a double
      GraphBuilder graph(version);
      graph.bytesBehindTransforms(count);
      graph.transform(20, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1});
      onePart(graph, {}, {20});
      const Loaded model(graph);
      EXPECT_THAT(moveOf(model.at({0})), ElementsAre(5, 0, 0)) << version << ' ' << count;
    }
  }
}

TEST(Materials, APartAnswersTheOneInForceOnItsWayItsOwnFirst) {
  GraphBuilder graph;
  graph.material(20, red(0.25F));
  graph.material(21, red(0.5F));
  graph.partition(0, {1, 2}).name("root");
  graph.metaData(1, {3, 4}).name("painted").attributes({20});
  graph.part(2, {}).name("bare");
  graph.part(3, {}).name("own").attributes({21});
  graph.part(4, {}).name("inherits");
  const Loaded model(graph);
  EXPECT_EQ(redOf(model.at({0})), 0.25F);
  EXPECT_EQ(redOf(model.at({0, 0})), 0.5F);
  EXPECT_EQ(redOf(model.at({0, 1})), 0.25F);
}

// Else a neighbour's colour would reach the part: the converter takes the last one it saw.
TEST(Materials, APartWithoutOneIsGreyWhereOthersHaveOne) {
  GraphBuilder graph;
  graph.material(20, red(0.25F));
  onePart(graph, {}, {20});
  const Loaded model(graph);
  ASSERT_NE(materialOf(model.at({1})), nullptr);
  EXPECT_THAT(colorOf(model.at({1}), &JtkMaterial::getDiffuseColor), ElementsAre(0.698F, 0.698F, 0.698F, 1));
  EXPECT_EQ(colorOf(model.at({1}), &JtkMaterial::getAmbientColor)[0], 0.698F);
  EXPECT_EQ(shininessOf(model.at({1})), 128);
  EXPECT_EQ(redOf(model.root()), -1);
}

TEST(Materials, WhereNoNodeHasOnePartsAnswerNull) {
  GraphBuilder graph;
  onePart(graph, {}, {});
  const Loaded model(graph);
  EXPECT_EQ(redOf(model.at({0})), -1);
}

TEST(Materials, TheTargetOfAnInstanceAnswersWhatIsInForceOnThatWay) {
  GraphBuilder graph;
  graph.material(20, red(0.25F));
  graph.material(21, red(0.5F));
  graph.partition(0, {1, 2, 5}).name("root");
  graph.instance(1, 3).name("first").attributes({20});
  graph.instance(2, 3).name("second").attributes({21});
  graph.metaData(3, {4});
  graph.part(4, {}).name("part");
  graph.instance(5, 4).name("third");
  const Loaded model(graph);
  EXPECT_EQ(redOf(Loaded::target(model.at({0}))), 0.25F);
  EXPECT_EQ(redOf(Loaded::target(model.at({1}))), 0.5F);
  EXPECT_EQ(redOf(model.at({0, 0})), 0.25F);
  EXPECT_EQ(redOf(model.at({1, 0})), 0.5F);
  EXPECT_EQ(redOf(Loaded::target(model.at({2}))), 0.698F);
}

TEST(Materials, OnlyTheNearestAtOrBelowTheLevelOfDetailIsTheShapesOwn) {
  GraphBuilder graph;
  graph.material(20, red(0.25F));
  graph.material(21, red(0.5F));
  graph.material(22, red(0.75F));
  graph.partition(0, {1}).name("root").attributes({20});
  graph.part(1, {2, 6});
  graph.rangeLod(2, {3}).attributes({21});
  graph.group(3, {4, 5});
  graph.triStrips(4);
  graph.triStrips(5).attributes({22});
  graph.triStrips(6);
  const Loaded model(graph);
  const auto redOfShape = [&](int index) {
    JtkMaterial* material = nullptr;
    shapeOf(model.root(), 0, index)->getShapeMaterial(material);
    return redOf(material);
  };
  EXPECT_EQ(redOfShape(0), 0.5F);
  EXPECT_EQ(redOfShape(1), 0.75F);
  EXPECT_EQ(redOfShape(2), -1.0F);
  EXPECT_EQ(redOf(model.root()), 0.25F);
}

TEST(Materials, FinalAboveForceBelowAndIgnore) {
  GraphBuilder graph;
  graph.material(20, red(0.25F, kFinal));
  graph.material(21, red(0.5F));
  graph.material(22, red(0.75F, kForce));
  graph.material(23, red(0.125F, kIgnore));
  graph.partition(0, {1, 2, 3}).name("root").attributes({23, 20});
  graph.part(1, {}).name("a").attributes({21});
  graph.part(2, {}).name("b").attributes({22});
  graph.part(3, {}).name("c").attributes({23});
  const Loaded model(graph);
  EXPECT_EQ(redOf(model.at({0})), 0.25F);
  EXPECT_EQ(redOf(model.at({1})), 0.75F);
  EXPECT_EQ(redOf(model.at({2})), 0.25F);
}

TEST(Materials, InhibitedFieldsComeFromAbove) {
  constexpr std::uint32_t kDiffuse = 1U << 6U;
  GraphBuilder graph;
  GraphBuilder::Material lower = red(0.5F, 8, kDiffuse);
  lower.shininess = 77;
  graph.material(20, red(0.25F));
  graph.material(21, lower);
  onePart(graph, {20}, {21});
  const Loaded model(graph);
  EXPECT_EQ(redOf(model.at({0})), 0.25F);
  EXPECT_EQ(shininessOf(model.at({0})), 77);
}

TEST(Materials, FieldsThatAreFinalFrom10OnStay) {
  GraphBuilder graph("10.0");
  GraphBuilder::Material upper = red(0.25F);
  upper.final_fields = 1U << 6U;
  GraphBuilder::Material lower = red(0.5F);
  lower.shininess = 77;
  graph.material(20, upper);
  graph.material(21, lower);
  onePart(graph, {20}, {21});
  const Loaded model(graph);
  EXPECT_EQ(redOf(model.at({0})), 0.25F);
  EXPECT_EQ(shininessOf(model.at({0})), 77);
}

// Each field by its number: final above, two materials further down change all others; inhibited below, it
// alone comes from above.
TEST(Materials, EveryFieldCanBeFinalOrInhibitedByItself) {
  const auto material = [](float value) {
    const std::array<float, 4> color = {value, value, value, value};
    return GraphBuilder::Material{
        .diffuse = color, .shininess = value, .ambient = color, .specular = color, .emission = color};
  };
  // Ambient, specular, emission, the diffuse colour, its alpha, shininess.
  constexpr std::uint32_t kFields[] = {0, 1, 2, 6, 7, 8};
  constexpr float kUpper = 0.25F;
  constexpr float kLower = 0.75F;
  const auto valuesOf = [](JtkHierarchy* part) {
    const auto diffuse = colorOf(part, &JtkMaterial::getDiffuseColor);
    return std::vector<float>{colorOf(part, &JtkMaterial::getAmbientColor)[0],
                              colorOf(part, &JtkMaterial::getSpecularColor)[0],
                              colorOf(part, &JtkMaterial::getEmissionColor)[0],
                              diffuse[0],
                              diffuse[3],
                              shininessOf(part)};
  };
  for (std::size_t i = 0; i < std::size(kFields); ++i) {
    std::vector<float> expected(std::size(kFields), kLower);
    expected[i] = kUpper;
    GraphBuilder::Material upper = material(kUpper);
    GraphBuilder::Material lower = material(kLower);
    {
      upper.final_fields = 1U << kFields[i];
      GraphBuilder graph("10.0");
      graph.material(20, upper);
      graph.material(21, material(0.5F));
      graph.material(22, lower);
      graph.partition(0, {1, 2}).name("root").attributes({20});
      graph.part(2, {}).name("other");
      graph.metaData(1, {3}).name("assembly").attributes({21});
      graph.part(3, {}).name("part").attributes({22});
      const Loaded model(graph);
      EXPECT_EQ(valuesOf(model.at({0, 0})), expected) << i;
    }
    upper.final_fields = 0;
    lower.inhibited = 1U << kFields[i];
    GraphBuilder graph("10.0");
    graph.material(20, upper);
    graph.material(21, lower);
    onePart(graph, {20}, {21});
    const Loaded model(graph);
    EXPECT_EQ(valuesOf(model.at({0})), expected) << i;
  }
}

TEST(Materials, WhatIsForcedPassesFinalFieldsToo) {
  GraphBuilder graph("10.0");
  GraphBuilder::Material upper = red(0.25F);
  upper.final_fields = 1U << 6U;
  graph.material(20, upper);
  graph.material(21, red(0.5F, kForce));
  onePart(graph, {20}, {21});
  const Loaded model(graph);
  EXPECT_EQ(redOf(model.at({0})), 0.5F);
}

TEST(Materials, In8ColoursCanBeStoredAsOneNumber) {
  GraphBuilder graph("8.1");
  GraphBuilder::Material material = red(0.5F);
  material.data_flags = 0x1 | 0x2 | 0x4;  // ambient and emission
  graph.material(20, material);
  graph.partition(0, {1}).name("root");
  graph.part(1, {}).attributes({20});
  const Loaded model(graph);
  ASSERT_NE(materialOf(model.root()), nullptr);
  EXPECT_THAT(colorOf(model.root(), &JtkMaterial::getAmbientColor), ElementsAre(0.1F, 0.1F, 0.1F, 1));
  EXPECT_THAT(colorOf(model.root(), &JtkMaterial::getSpecularColor), ElementsAre(0.2F, 0.25F, 0.2F, 1));
  EXPECT_THAT(colorOf(model.root(), &JtkMaterial::getEmissionColor), ElementsAre(0.3F, 0.3F, 0.3F, 1));
  EXPECT_EQ(shininessOf(model.root()), 10);
}

}  // namespace
