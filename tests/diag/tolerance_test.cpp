// The tolerance setting, read as C's atof reads numbers.
#include "diag/tolerance.h"

#include <gtest/gtest.h>

#include <bit>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "diag/trace_log.h"
#include "host/path.h"

namespace loftbay::diag {
namespace {

#ifdef _WIN32
void setEnvironment(const char* name, const char* value) { _putenv_s(name, value != nullptr ? value : ""); }
#else
void setEnvironment(const char* name, const char* value) {
  if (value != nullptr) {
    setenv(name, value, 1);
  } else {
    unsetenv(name);
  }
}
#endif

TEST(NumberFromText, ReadsDecimalNumbers) {
  EXPECT_EQ(numberFromText("0.005"), 0.005);
  EXPECT_EQ(numberFromText("+1.5e3"), 1500.0);
  EXPECT_EQ(numberFromText(" \t\n\v\f\r-.25"), -0.25);
  EXPECT_EQ(numberFromText("5."), 5.0);
  EXPECT_EQ(numberFromText("1e-7"), 1e-7);
}

TEST(NumberFromText, IgnoresWhatFollows) {
  EXPECT_EQ(numberFromText("0.5mm"), 0.5);
  EXPECT_EQ(numberFromText("0,5"), 0.0);
  EXPECT_EQ(numberFromText("2e"), 2.0);
  EXPECT_EQ(numberFromText("2e+x"), 2.0);
  EXPECT_EQ(numberFromText("1 2"), 1.0);
}

TEST(NumberFromText, IsZeroWithoutANumber) {
  for (const char* const text :
       {"", " ", "fine", "--1", "+-1", "-+1", ".", "e5", "-", "+", "-fine", "-.", "-e5"}) {
    EXPECT_EQ(numberFromText(text), 0.0) << text;
    // A sign counts only where a number follows.
    EXPECT_FALSE(std::signbit(numberFromText(text))) << text;
  }
}

TEST(NumberFromText, KeepsTheSignOfAZeroThatIsThere) {
  for (const char* const text : {"-0", "-0.0mm", "-0x", "-0xg", "-1e-999"})
    EXPECT_TRUE(std::signbit(numberFromText(text))) << text;
}

TEST(NumberFromText, ReadsHexadecimalNumbers) {
  EXPECT_EQ(numberFromText("0x10"), 16.0);
  EXPECT_EQ(numberFromText("-0X1.8p1"), -3.0);
  EXPECT_EQ(numberFromText("0x.8"), 0.5);
  EXPECT_EQ(numberFromText("0x"), 0.0);
  EXPECT_EQ(numberFromText("0xg"), 0.0);
  EXPECT_EQ(numberFromText("0x-1"), 0.0);
  EXPECT_EQ(numberFromText("0xinf"), 0.0);
  EXPECT_EQ(numberFromText("0x1p"), 1.0);
}

TEST(NumberFromText, ReadsInfinitiesAndNotANumber) {
  EXPECT_EQ(numberFromText("inf"), HUGE_VAL);
  EXPECT_EQ(numberFromText("-Infinity"), -HUGE_VAL);
  EXPECT_TRUE(std::isnan(numberFromText("nan")));
  EXPECT_TRUE(std::isnan(numberFromText("NAN(12)")));
}

TEST(NumberFromText, GoesToInfinityOrZeroBeyondTheRange) {
  EXPECT_EQ(numberFromText("1e999"), HUGE_VAL);
  EXPECT_EQ(numberFromText("-1e999"), -HUGE_VAL);
  EXPECT_EQ(numberFromText("1e-999"), 0.0);
  EXPECT_EQ(numberFromText("0x1p99999"), HUGE_VAL);
  EXPECT_EQ(numberFromText("0x1p-99999"), 0.0);
  EXPECT_EQ(numberFromText(std::string(400, '9')), HUGE_VAL);
  EXPECT_EQ(numberFromText("0." + std::string(400, '0') + "1"), 0.0);
}

#ifndef _WIN32
TEST(NumberFromText, EqualsAtofInTheCLocale) {
  for (const char* const text : {"1",
                                 "-0",
                                 "1e5x",
                                 "0x1p-3",
                                 "0xap",
                                 "infinityx",
                                 "in",
                                 "nan(abc)",
                                 "nan(",
                                 "1.7976931348623159e308",
                                 "4.9e-324",
                                 "2e-324",
                                 "1e-310",
                                 ".5.5",
                                 "1..2",
                                 "1e1e1",
                                 "0e",
                                 "00012",
                                 "0x0.1",
                                 " +7",
                                 "\xA0"
                                 "1",
                                 "1_000",
                                 "0b1"}) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(numberFromText(text)),
              std::bit_cast<std::uint64_t>(std::atof(text)))
        << text;
  }
}
#endif

class ToleranceSetting : public testing::Test {
 protected:
  ToleranceSetting() {
    log_ = std::filesystem::temp_directory_path() /
           ("tolerance_test_" + std::to_string(reinterpret_cast<std::uintptr_t>(this)) + ".txt");
    std::filesystem::remove(log_);
    openTraceLog(host::toProgramPath(log_.string()));
    setClock([] { return LocalTime{1, 2, 3, 4, 5, 2026}; });
    UlpTessTolerance = kDefaultUlpTessTolerance;
    UlpTessToleranceGiven = false;
  }
  ~ToleranceSetting() override {
    setEnvironment("MERIDAN_JT_ULP_TESS_TOLERANCE", nullptr);
    setClock({});
    openTraceLog({});
    std::filesystem::remove(log_);
  }
  // The variable has this value; null: there is none.
  static void readWith(const char* value) {
    setEnvironment("MERIDAN_JT_ULP_TESS_TOLERANCE", value);
    readUlpTessTolerance();
  }
  std::string log() const {
    std::ifstream file(log_);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::filesystem::path log_;
};

constexpr const char* kLine = "[1:2:3, 4-5-2026] obJt2Zix::ULP : MERIDAN_JT_ULP_TESS_TOLERANCE is set.\n";

TEST_F(ToleranceSetting, WithoutTheVariableNothingIsSetOrLogged) {
  readWith(nullptr);
  EXPECT_FALSE(UlpTessToleranceGiven);
  EXPECT_EQ(UlpTessTolerance, 0.02F);
  EXPECT_EQ(log(), "");
}

TEST_F(ToleranceSetting, TheVariableSetsValueAndFlagAndLogsOneLine) {
  readWith("0.005");
  EXPECT_TRUE(UlpTessToleranceGiven);
  EXPECT_EQ(UlpTessTolerance, 0.005F);
  EXPECT_EQ(log(), kLine);
}

TEST_F(ToleranceSetting, ATextThatIsNoNumberIsTakenAsZero) {
  readWith("coarse");
  EXPECT_TRUE(UlpTessToleranceGiven);
  EXPECT_EQ(UlpTessTolerance, 0.0F);
  EXPECT_EQ(log(), kLine);
}

#ifndef _WIN32  // an empty value unsets a variable there
TEST_F(ToleranceSetting, AnEmptyVariableExists) {
  readWith("");
  EXPECT_TRUE(UlpTessToleranceGiven);
  EXPECT_EQ(UlpTessTolerance, 0.0F);
}
#endif

TEST_F(ToleranceSetting, AnOptionSetsItWithoutALine) {
  setUlpTessTolerance(0.25F);
  EXPECT_TRUE(UlpTessToleranceGiven);
  EXPECT_EQ(UlpTessTolerance, 0.25F);
  EXPECT_EQ(log(), "");
}

}  // namespace
}  // namespace loftbay::diag
