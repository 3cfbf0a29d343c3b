// Names that are unique within a job.
#include "scene/name_maker.h"

#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

class UniqueName : public JobTest {
 protected:
  UniqueName() : job_("model.jt", "o.zix", &success_, true) {}
  std::string operator()(const char* name) { return job_.MakeUniqueName(name); }

  bool success_ = false;
  convert::obJt2Zix job_;
};

TEST_F(UniqueName, BlankNamesAreDefault) {
  auto& name = *this;
  EXPECT_EQ(name(""), "Default");
  EXPECT_EQ(name("   "), "Default_orb_2");
  EXPECT_EQ(name(nullptr), "Default_orb_3");
}

TEST_F(UniqueName, TabsAreNoBlanks) {
  auto& name = *this;
  EXPECT_EQ(name("\t"), "\t");
}

TEST_F(UniqueName, BlanksAroundALetterStay) {
  auto& name = *this;
  EXPECT_EQ(name(" a "), " a ");
  EXPECT_EQ(name("a"), "a");
}

TEST_F(UniqueName, RepeatsAreNumberedFromTwo) {
  auto& name = *this;
  EXPECT_EQ(name("Bolt"), "Bolt");
  EXPECT_EQ(name("Bolt"), "Bolt_orb_2");
  EXPECT_EQ(name("Nut"), "Nut");
  EXPECT_EQ(name("Bolt"), "Bolt_orb_3");
}

TEST_F(UniqueName, CaseDistinguishesNames) {
  auto& name = *this;
  EXPECT_EQ(name("bolt"), "bolt");
  EXPECT_EQ(name("Bolt"), "Bolt");
}

TEST_F(UniqueName, GeneratedNamesAreNotRegistered) {
  auto& name = *this;
  EXPECT_EQ(name("Bolt"), "Bolt");
  EXPECT_EQ(name("Bolt"), "Bolt_orb_2");
  EXPECT_EQ(name("Bolt_orb_2"), "Bolt_orb_2");
  EXPECT_EQ(name("Bolt_orb_2"), "Bolt_orb_2_orb_2");
}

TEST_F(UniqueName, TheRootsNameTakesPart) {
  auto& name = *this;
  EXPECT_EQ(name("modet"), "modet_orb_2");
}

TEST_F(UniqueName, RegistryKeepsFirstUseOrderAndTheNextNumbers) {
  auto& name = *this;
  for (const char* const wanted : {"b", "a", "b", "c", "b"}) name(wanted);
  EXPECT_EQ(job_.usedNames, (std::vector<std::string>{"modet", "b", "a", "c"}));
  EXPECT_EQ(job_.nameCounts, (std::vector<std::uint32_t>{2, 4, 2, 2}));
}

TEST_F(UniqueName, NamesThatOthersRegisterCount) {
  auto& name = *this;
  job_.usedNames.insert(job_.usedNames.end(), {"Bolt", "Nut", "Bolt"});
  job_.nameCounts.insert(job_.nameCounts.end(), {7, 2, 2});
  EXPECT_EQ(name("Bolt"), "Bolt_orb_7");
  EXPECT_EQ(name("Bolt"), "Bolt_orb_8");
  EXPECT_EQ(name("Nut"), "Nut_orb_2");
  EXPECT_EQ(name("Screw"), "Screw");
  EXPECT_EQ(job_.nameCounts, (std::vector<std::uint32_t>{2, 9, 3, 2, 2}));
}

TEST(NameMaker, BeginsAnewWhenTheRegistryIsCleared) {
  std::vector<std::string> used;
  std::vector<std::uint32_t> next;
  scene::NameMaker names(used, next);
  for (const char* const wanted : {"a", "b", "b"}) names.unique(wanted);
  used.clear();
  next.clear();
  EXPECT_EQ(names.unique("b"), "b");
  EXPECT_EQ(names.unique("b"), "b_orb_2");
  EXPECT_EQ(names.unique("a"), "a");
  EXPECT_EQ(used, (std::vector<std::string>{"b", "a"}));
}

}  // namespace
}  // namespace loftbay::doubles
