// Locale-free conversions and keyword matching, checked against the C
// library's own conversions under the "C" locale, and under a locale with a
// decimal comma to show the process locale makes no difference.
#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <locale.h>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "scan/scan.h"

namespace wzss {
namespace {

// --- wzMatchKeyword --------------------------------------------------------------

struct KeywordCase {
  const char* line;
  const char* keyword;
  bool match;
};

class MatchKeywordTest : public ::testing::TestWithParam<KeywordCase> {};

TEST_P(MatchKeywordTest, ComparesThePrefixIgnoringCase) {
  const KeywordCase& c = GetParam();
  EXPECT_EQ(wzMatchKeyword(c.line, c.keyword), c.match) << c.line << " / " << c.keyword;
}

INSTANTIATE_TEST_SUITE_P(
    Keywords, MatchKeywordTest,
    ::testing::Values(KeywordCase{"COLORMAP", "COLORMAP", true},
                      KeywordCase{"colormap and more", "COLORMAP", true},
                      KeywordCase{"ColorMap", "cOLORMAP", true},
                      KeywordCase{"COLORMA", "COLORMAP", false},
                      KeywordCase{"Symbols 1 2", "Symbols ", true},
                      KeywordCase{"Symbols", "Symbols ", false},
                      KeywordCase{"SymbolsX", "Symbols ", false},
                      KeywordCase{"", "X", false}, KeywordCase{"anything", "", true},
                      KeywordCase{"", "", true},
                      // Only ASCII letters fold; '@' and '`' are not 'A' and 'a'.
                      KeywordCase{"@", "`", false}, KeywordCase{"[", "{", false},
                      KeywordCase{"\xc4", "\xe4", false}, KeywordCase{"END COLORMAP", "END ", true},
                      KeywordCase{"View Start, Name: ", "VIEW START, NAME: ", true}));

TEST(MatchKeywordTest, StopsAtTheLinesEnd) {
  // The keyword is longer than the line; the bytes after the NUL must not
  // be compared (they would match).
  const char line[] = "ab\0cd";
  EXPECT_FALSE(wzMatchKeyword(line, std::string_view("ab\0cd", 5)));
  EXPECT_FALSE(wzMatchKeyword(line, "abc"));
  EXPECT_TRUE(wzMatchKeyword(line, "AB"));
}

// The C library's conversions as they are in the "C" locale, whatever locale
// the process has set: the reference every conversion here is held to.
locale_t cLocale() {
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

// --- Integers ---------------------------------------------------------------------

int32_t clampLong(long value) {
  if (value > INT32_MAX) return INT32_MAX;
  if (value < INT32_MIN) return INT32_MIN;
  return static_cast<int32_t>(value);
}

// strtol saturates at the long limits; clamped to int32 it is what
// wzParseInt must give.
struct IntCase {
  const char* text;
  int base;
};

class ParseIntTest : public ::testing::TestWithParam<IntCase> {};

TEST_P(ParseIntTest, AgreesWithClampedStrtol) {
  const IntCase& c = GetParam();
  char* libraryEnd = nullptr;
  const long expected = strtol_l(c.text, &libraryEnd, c.base, cLocale());
  int32_t value = -12345;
  const char* end = nullptr;
  const bool converted = wzParseInt(c.text, c.base, &value, &end);
  EXPECT_EQ(converted, libraryEnd != c.text) << '"' << c.text << '"';
  EXPECT_EQ(value, clampLong(expected)) << '"' << c.text << '"';
  EXPECT_EQ(end - c.text, libraryEnd - c.text) << '"' << c.text << '"';
}

INSTANTIATE_TEST_SUITE_P(
    Integers, ParseIntTest,
    ::testing::Values(
        IntCase{"42", 10}, IntCase{"  \t\n\v\f\r-17x", 10}, IntCase{"+8", 10}, IntCase{"-", 10},
        IntCase{"+-3", 10}, IntCase{"", 10}, IntCase{"abc", 10}, IntCase{"007", 10},
        IntCase{"2147483647", 10}, IntCase{"2147483648", 10}, IntCase{"-2147483648", 10},
        IntCase{"-2147483649", 10}, IntCase{"99999999999999999999999", 10},
        IntCase{"-99999999999999999999999", 10}, IntCase{"0x1F", 0}, IntCase{"0X1f", 0},
        IntCase{"-0x10", 0}, IntCase{"010", 0}, IntCase{"08", 0}, IntCase{"0", 0},
        IntCase{"0x", 0}, IntCase{"0xg", 0}, IntCase{"0x", 16}, IntCase{"0x7fffffff", 0},
        IntCase{"0x80000000", 0}, IntCase{"0xffffffffffffffffff", 0}, IntCase{"ff", 16},
        IntCase{"0xff", 16}, IntCase{"777", 8}, IntCase{"78", 8}, IntCase{"zz", 36},
        IntCase{"12 34", 10}, IntCase{"1,5", 10}, IntCase{"1.5", 10}, IntCase{"\xa0" "5", 10}),
    [](const ::testing::TestParamInfo<IntCase>& info) {
      return "Case" + std::to_string(info.index);
    });

TEST(ParseIntTest, NoDigitsLeavesZeroAndTheStart) {
  const char* text = "  -x";
  int32_t value = 5;
  const char* end = nullptr;
  EXPECT_FALSE(wzParseInt(text, 10, &value, &end));
  EXPECT_EQ(value, 0);
  EXPECT_EQ(end, text);
}

TEST(ParseIntTest, RejectsBasesStrtolRejects) {
  int32_t value = 5;
  const char* end = nullptr;
  EXPECT_FALSE(wzParseInt("1", 1, &value, &end));
  EXPECT_FALSE(wzParseInt("1", 37, &value, &end));
  EXPECT_FALSE(wzParseInt("1", -2, &value, &end));
}

struct AtoiCase {
  const char* text;
  int32_t value;
};

class AtoiTest : public ::testing::TestWithParam<AtoiCase> {};

TEST_P(AtoiTest, ReadsLikeAtoiAndSaturates) {
  EXPECT_EQ(wzAtoi(GetParam().text), GetParam().value) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(Integers, AtoiTest,
                         ::testing::Values(AtoiCase{"12", 12}, AtoiCase{" -7,3", -7},
                                           AtoiCase{"+0", 0}, AtoiCase{"x1", 0},
                                           AtoiCase{"", 0}, AtoiCase{"0x10", 0},
                                           AtoiCase{"010", 10},
                                           AtoiCase{"3000000000", INT32_MAX},
                                           AtoiCase{"-3000000000", INT32_MIN},
                                           AtoiCase{"\t\n 300:20", 300}));

// --- Floating values ---------------------------------------------------------------

// The same double, or both NaN: bit for bit, so -0 and 0 differ.
::testing::AssertionResult sameDouble(double expected, double actual) {
  if (std::isnan(expected) && std::isnan(actual) &&
      std::signbit(expected) == std::signbit(actual)) {
    return ::testing::AssertionSuccess();
  }
  if (std::memcmp(&expected, &actual, sizeof expected) == 0) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << std::hexfloat << "expected " << expected << ", got "
                                       << actual;
}

void expectLikeStrtod(const std::string& text) {
  SCOPED_TRACE("text \"" + text + "\"");
  char* libraryEnd = nullptr;
  const double expected = strtod_l(text.c_str(), &libraryEnd, cLocale());
  double value = -12345.0;
  const char* end = nullptr;
  const bool converted = wzParseDouble(text.c_str(), &value, &end);
  EXPECT_EQ(converted, libraryEnd != text.c_str());
  EXPECT_TRUE(sameDouble(expected, value));
  EXPECT_EQ(end - text.c_str(), libraryEnd - text.c_str());
  EXPECT_TRUE(sameDouble(expected, wzAtof(text.c_str())));
}

const char* const kTrickyDoubles[] = {
    // Plain decimals and their borders.
    "0", "3.14", "1234.5", "-0", "  -0", "+0.0", ".5", "-.5", "5.", "5.e3", ".", "-.", "+",
    "-", "", "e5", "E5", ".e5", "1e", "1e+", "1e-", "1e+5", "1E-5", "1e5x", "1.5.5",
    "00012.50", "1,5", "3,14", " \t\n\v\f\r42", "\xa0" "1", "--1", "+-1", "-+1", "- 1",
    "0.000001", "123456789012345678901234567890", "0.1e1", "1_000",
    // Rounding of long digit strings: halfway cases and the classic hard ones.
    "9007199254740993", "9007199254740993.0000000001", "9007199254740995",
    "0.1000000000000000055511151231257827021181583404541015625", "2.2250738585072011e-308",
    "2.2250738585072012e-308", "1.00000000000000011102230246251565404236316680908203125",
    // Exponents out of range, overflow and underflow.
    "1e308", "1.7976931348623157e308", "1.7976931348623158e308", "1.7976931348623159e308",
    "1e309", "1e400", "-1e400", "1e-400", "-1e-400", "1e-310", "-1e-310", "4.9e-324",
    "2.4703282292062328e-324", "2.4703282292062327e-324", "3e-324", "2e-324",
    "1e99999999999999999999", "1e-99999999999999999999", "0e99999", "0.0e-99999",
    "0.00000000000000000000000000000000000000001e-290", "1000000000000000000000e288",
    "0.0000001e316", "99999999999999999999e300",
    // Hexadecimal floats.
    "0x1p3", "0X1P-3", "0x1.8p1", "0x.8p1", "0x1.", "0x1.p1", "0xA", "0xaBc.Def",
    "-0x1p-1074", "0x1p-1075", "0x1.8p-1075", "0x1p-1080", "0x1p1023", "0x1p1024",
    "-0x1p1024", "0x1.fffffffffffffp1023", "0x1.fffffffffffff8p1023", "0x0.00001p-1050",
    "0x100000p1000", "0x", "0X", "0xg", "0x.", "0x.p1", "0xp1", "0x1p", "0x1p+", "0x1pz",
    "-0x", "0x0p0", "0x1p99999999999999999999", "0x1p-99999999999999999999", "00x1",
    // Infinities and NaNs.
    "inf", "+inf", "-inf", "INF", "iNfInItY", "infinity", "infinit", "infinityx", "in",
    "nan", "-nan", "NaN", "nan(123)", "nan(abc_9)", "nan(", "nan(1 2)", "nan()", "nanx",
    "n", "-infinity "};

class ParseDoubleTest : public ::testing::TestWithParam<const char*> {};

TEST_P(ParseDoubleTest, AgreesWithStrtod) { expectLikeStrtod(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Tricky, ParseDoubleTest, ::testing::ValuesIn(kTrickyDoubles));

// Random texts built from the pieces a number is made of: every one must
// convert as strtod converts it in the "C" locale.
void expectRandomTextsLikeStrtod(uint32_t seed) {
  const char* const pieces[] = {"0", "1", "5", "9", "00", "123", ".", ",", "e", "E", "+", "-",
                                "p", "P", "x", "0x", "a", "f", "F", " ", "\t", "inf", "nan",
                                "e3", "e-3", "e400", "e-400", "p-1074", "p1024", "9999999999"};
  std::mt19937 random(seed);
  std::uniform_int_distribution<size_t> pick(0, std::size(pieces) - 1);
  std::uniform_int_distribution<int> length(1, 8);
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    for (int n = length(random); n > 0; --n) text += pieces[pick(random)];
    expectLikeStrtod(text);
    if (::testing::Test::HasFailure()) break;
  }
}

TEST(ParseDoubleTest, AgreesWithStrtodOnRandomTexts) { expectRandomTextsLikeStrtod(20240611); }

TEST(ParseDoubleTest, NothingConvertedLeavesZeroAndTheStart) {
  const char* text = "  +x";
  double value = 7.0;
  const char* end = nullptr;
  EXPECT_FALSE(wzParseDouble(text, &value, &end));
  EXPECT_TRUE(sameDouble(0.0, value));
  EXPECT_EQ(end, text);
}

TEST(ParseDoubleTest, OverflowAndUnderflowValues) {
  double value = 0;
  const char* end = nullptr;
  ASSERT_TRUE(wzParseDouble("-1e400", &value, &end));
  EXPECT_EQ(value, -HUGE_VAL);
  ASSERT_TRUE(wzParseDouble("1e-400", &value, &end));
  EXPECT_TRUE(sameDouble(0.0, value));
  ASSERT_TRUE(wzParseDouble("-1e-400", &value, &end));
  EXPECT_TRUE(sameDouble(-0.0, value));
  ASSERT_TRUE(wzParseDouble("1e-310", &value, &end));
  EXPECT_GT(value, 0.0);
  EXPECT_LT(value, 2.3e-308);  // a denormal, not rounded away
}

// Restores the "C" locale however the test ends.
class CommaLocale {
 public:
  CommaLocale() { active_ = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr; }
  ~CommaLocale() { std::setlocale(LC_ALL, "C"); }
  bool active() const { return active_; }

 private:
  bool active_ = false;
};

TEST(LocaleTest, DecimalCommaLocaleChangesNothing) {
  CommaLocale locale;
  if (!locale.active()) {
    GTEST_SKIP() << "locale de_DE.UTF-8 is not installed (generate it with locale-gen)";
  }
  // The library itself now reads a decimal comma; ours must not.
  ASSERT_EQ(std::strtod("3,14", nullptr), 3.14);
  double value = 0;
  const char* end = nullptr;
  const char* point = "3.14";
  ASSERT_TRUE(wzParseDouble(point, &value, &end));
  EXPECT_EQ(value, 3.14);
  EXPECT_EQ(end, point + 4);
  const char* comma = "3,14";
  ASSERT_TRUE(wzParseDouble(comma, &value, &end));
  EXPECT_EQ(value, 3.0);
  EXPECT_EQ(end, comma + 1);
  EXPECT_EQ(wzAtof("-2.5e3"), -2500.0);
  EXPECT_EQ(wzAtoi(" 1.234"), 1);
  EXPECT_TRUE(wzMatchKeyword("insel", "INSEL"));
  // Everything else converts as in the "C" locale too.
  for (const char* text : kTrickyDoubles) expectLikeStrtod(text);
  expectRandomTextsLikeStrtod(7);
}

}  // namespace
}  // namespace wzss
