// The table of system names, every row of it.
#include "diag/system_description.h"

#include <gmock/gmock.h>

#include <cwchar>
#include <vector>

namespace loftbay::diag {
namespace {

using host::SystemVersion;

constexpr std::uint16_t kX86 = 0;
constexpr std::uint16_t kArm = 5;
constexpr std::uint16_t kItanium = 6;
constexpr std::uint16_t kX64 = 9;
constexpr std::uint8_t kWorkstation = 1;
constexpr std::uint8_t kDomainController = 2;
constexpr std::uint8_t kServer = 3;

struct Row {
  std::uint32_t major;
  std::uint32_t minor;
  std::uint8_t product_type;
  std::uint16_t suite_mask;
  std::uint16_t architecture;
  const wchar_t* name;
};

SystemVersion record(const Row& row) {
  return {.platform_id = 2,
          .major = row.major,
          .minor = row.minor,
          .build = 1234,
          .service_pack = L"",
          .suite_mask = row.suite_mask,
          .product_type = row.product_type,
          .processor_architecture = row.architecture};
}

std::wstring bitness(std::uint16_t architecture) {
  if (architecture == kX64) return L", 64-bit";
  return architecture == kX86 ? L", 32-bit" : L"";
}

TEST(SystemDescription, NamesEveryRowOfTheTable) {
  const Row rows[] = {
      {6, 0, kWorkstation, 0, kX64, L"Windows Vista "},
      {6, 0, kServer, 0, kX64, L"Windows Server 2008 "},
      {6, 0, kDomainController, 0, kX86, L"Windows Server 2008 "},
      {6, 1, kWorkstation, 0, kX64, L"Windows 7 "},
      {6, 1, kServer, 0, kX64, L"Windows Server 2008 R2 "},
      {6, 2, kWorkstation, 0, kX64, L""},
      {6, 3, kServer, 0, kX64, L""},
      {7, 0, kWorkstation, 0, kX64, L""},
      {10, 0, kWorkstation, 0, kX64, L""},
      {10, 1, kServer, 0xFFFF, kX86, L""},
      {5, 3, kWorkstation, 0, kX86, L""},
      // 5.2: storage server first, whatever the product type.
      {5, 2, kWorkstation, 0x2000, kX64, L"Windows Storage Server 2003"},
      {5, 2, kServer, 0x2000, kX86, L"Windows Storage Server 2003Standard Edition"},
      {5, 2, kWorkstation, 0, kX64, L"Windows XP Professional x64 Edition"},
      {5, 2, kWorkstation, 0x7000 & ~0x2000, kX64, L"Windows XP Professional x64 Edition"},
      {5, 2, kWorkstation, 0x8000, kX64, L"Windows Home Server"},
      {5, 2, kServer, 0x8000, kX86, L"Windows Home ServerStandard Edition"},
      {5, 2, kWorkstation, 0, kX86, L"Windows Server 2003, "},
      {5, 2, kServer, 0x80, kItanium, L"Windows Server 2003, Datacenter Edition for Itanium-based Systems"},
      {5, 2, kServer, 0x82, kItanium, L"Windows Server 2003, Datacenter Edition for Itanium-based Systems"},
      {5, 2, kServer, 0x2, kItanium, L"Windows Server 2003, Enterprise Edition for Itanium-based Systems"},
      {5, 2, kServer, 0, kItanium, L"Windows Server 2003, "},
      {5, 2, kServer, 0x80, kX64, L"Windows Server 2003, Datacenter x64 Edition"},
      {5, 2, kServer, 0x2, kX64, L"Windows Server 2003, Enterprise x64 Edition"},
      {5, 2, kServer, 0, kX64, L"Windows Server 2003, Standard x64 Edition"},
      {5, 2, kServer, 0x4000, kX64, L"Windows Server 2003, Standard x64 Edition"},
      {5, 2, kServer, 0x4082, kX86, L"Windows Server 2003, Compute Cluster Edition"},
      {5, 2, kServer, 0x82, kX86, L"Windows Server 2003, Datacenter Edition"},
      {5, 2, kServer, 0x402, kX86, L"Windows Server 2003, Enterprise Edition"},
      {5, 2, kServer, 0x400, kX86, L"Windows Server 2003, Web Edition"},
      {5, 2, kServer, 0, kX86, L"Windows Server 2003, Standard Edition"},
      {5, 2, kServer, 0, kArm, L"Windows Server 2003, Standard Edition"},
      {5, 1, kWorkstation, 0x200, kX86, L"Windows XP Home Edition"},
      {5, 1, kWorkstation, 0, kX86, L"Windows XP Professional"},
      {5, 0, kWorkstation, 0x82, kX86, L"Windows 2000 Professional"},
      {5, 0, kServer, 0x82, kX86, L"Windows 2000 Datacenter Server"},
      {5, 0, kServer, 0x2, kX86, L"Windows 2000 Advanced Server"},
      {5, 0, kServer, 0, kX86, L"Windows 2000 Server"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.major << '.' << row.minor << " suite " << row.suite_mask
                                    << " product " << int{row.product_type} << " architecture "
                                    << row.architecture);
    EXPECT_EQ(describeSystem(record(row)),
              std::wstring(L"Microsoft ") + row.name + L" (build 1234)" + bitness(row.architecture));
  }
}

TEST(SystemDescription, LeavesTwoBlanksWhereTheNameIsEmpty) {
  auto version = record({6, 2, kWorkstation, 0, kX64, L""});
  version.build = 9200;
  EXPECT_EQ(describeSystem(version), L"Microsoft  (build 9200), 64-bit");
}

TEST(SystemDescription, PutsABlankBeforeTheServicePack) {
  auto version = record({6, 1, kWorkstation, 0, kX64, L""});
  version.build = 7601;
  version.service_pack = L"Service Pack 1";
  EXPECT_EQ(describeSystem(version), L"Microsoft Windows 7  Service Pack 1 (build 7601), 64-bit");
}

TEST(SystemDescription, OtherArchitecturesHaveNoBitness) {
  EXPECT_EQ(describeSystem(record({10, 0, kWorkstation, 0, kArm, L""})), L"Microsoft  (build 1234)");
  EXPECT_EQ(describeSystem(record({10, 0, kWorkstation, 0, kItanium, L""})), L"Microsoft  (build 1234)");
}

TEST(SystemDescription, RefusesOtherPlatformsAndOldVersions) {
  auto version = record({10, 0, kWorkstation, 0, kX64, L""});
  version.platform_id = 1;
  EXPECT_EQ(describeSystem(version), std::nullopt);
  EXPECT_EQ(describeSystem(record({4, 90, kWorkstation, 0, kX86, L""})), std::nullopt);
}

TEST(SystemDescription, IsCutWhereTheBufferEnds) {
  auto version = record({6, 1, kWorkstation, 0, kX64, L""});
  const std::wstring ends = L" (build 1234), 64-bit";
  const std::size_t rest =
      kSystemDescriptionCapacity - 1 - ends.size() - std::wcslen(L"Microsoft Windows 7  ");
  std::vector<wchar_t> buffer(kSystemDescriptionCapacity + 1, L'#');
  version.service_pack = std::wstring(rest, L'x');
  ASSERT_TRUE(describeInto(version, buffer.data()));
  EXPECT_EQ(std::wstring(buffer.data()), L"Microsoft Windows 7  " + version.service_pack + ends);

  version.service_pack += L'x';
  ASSERT_TRUE(describeInto(version, buffer.data()));
  EXPECT_EQ(std::wstring(buffer.data()),
            L"Microsoft Windows 7  " + version.service_pack + L" (build 1234), 64-bi");
  EXPECT_EQ(buffer.back(), L'#');
}

TEST(SystemDescription, WritesNothingWithoutARecordOrAName) {
  wchar_t buffer[kSystemDescriptionCapacity] = L"untouched";
  EXPECT_FALSE(describeInto(std::nullopt, buffer));
  EXPECT_FALSE(describeInto(record({4, 0, kWorkstation, 0, kX86, L""}), buffer));
  EXPECT_EQ(std::wstring(buffer), L"untouched");
}

TEST(SystemDescription, NarrowsWhatHasNoEightBitFormToAQuestionMark) {
  EXPECT_EQ(narrowed(L"Microsoft \x4E2D (build 1)"), "Microsoft ? (build 1)");
}

TEST(SystemDescription, DescribesThisSystem) {
  wchar_t buffer[kSystemDescriptionCapacity] = L"untouched";
#ifdef _WIN32
  ASSERT_TRUE(GetSystemDescription(buffer));
  EXPECT_EQ(std::wstring(buffer).substr(0, 10), L"Microsoft ");
  EXPECT_THAT(systemDescription(), testing::EndsWith("), 64-bit"));
#else
  EXPECT_FALSE(GetSystemDescription(buffer));
  EXPECT_EQ(std::wstring(buffer), L"untouched");
  EXPECT_EQ(systemDescription(), "");
#endif
}

}  // namespace
}  // namespace loftbay::diag
