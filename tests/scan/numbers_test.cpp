// Locale-free conversions and keyword matching, checked against the C
// library's own conversions under the "C" locale, and under a locale with a
// decimal comma to show the process locale makes no difference.
#include <gtest/gtest.h>

#include <locale.h>
#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <string_view>

#include "scan/scan.h"

namespace wzss {
namespace {

TEST(MatchKeywordTest, ComparesThePrefixIgnoringCase) {
  struct Case {
    const char* line;
    std::string_view keyword;
    bool match;
  } cases[] = {{"colormap and more", "COLORMAP", true},
               {"ColorMap", "cOLORMAP", true},
               {"COLORMA", "COLORMAP", false},
               {"Symbols 1 2", "Symbols ", true},
               {"Symbols", "Symbols ", false},
               {"SymbolsX", "Symbols ", false},
               {"", "X", false},
               {"anything", "", true},
               {"", "", true},
               // Only ASCII letters fold; '@' and '`' are not 'A' and 'a'.
               {"@", "`", false},
               {"[", "{", false},
               {"\xc4", "\xe4", false},
               {"View Start, Name: ", "VIEW START, NAME: ", true},
               // The keyword is longer than the line; the bytes after the NUL would match.
               {"ab\0cd", std::string_view("ab\0cd", 5), false},
               {"ab\0cd", "abc", false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.line) + " / " + std::string(c.keyword));
    EXPECT_EQ(wzMatchKeyword(c.line, c.keyword), c.match);
  }
}

// The C library's conversions as they are in the "C" locale, whatever locale
// the process has set: the reference every conversion here is held to.
locale_t cLocale() {
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

// strtol saturates at the long limits; clamped to int32 it is what
// wzParseInt must give, also when nothing converts (0 and the start).
TEST(ParseIntTest, AgreesWithClampedStrtol) {
  struct Case {
    const char* text;
    int base;
  } cases[] = {{"42", 10},
               {"  \t\n\v\f\r-17x", 10},
               {"+8", 10},
               {"-", 10},
               {"+-3", 10},
               {"", 10},
               {"  -x", 10},
               {"007", 10},
               {"2147483647", 10},
               {"2147483648", 10},
               {"-2147483648", 10},
               {"-2147483649", 10},
               {"99999999999999999999999", 10},
               {"-99999999999999999999999", 10},
               {"0x1F", 0},
               {"0X1f", 0},
               {"-0x10", 0},
               {"010", 0},
               {"08", 0},
               {"0", 0},
               {"0x", 0},
               {"0xg", 0},
               {"0x", 16},
               {"0x7fffffff", 0},
               {"0x80000000", 0},
               {"0xffffffffffffffffff", 0},
               {"ff", 16},
               {"0xff", 16},
               {"777", 8},
               {"78", 8},
               {"zz", 36},
               {"12 34", 10},
               {"1,5", 10},
               {"1.5", 10},
               {"\2405", 10}};
  for (const Case& c : cases) {
    SCOPED_TRACE('"' + std::string(c.text) + "\" base " + std::to_string(c.base));
    char* libraryEnd = nullptr;
    const long expected = strtol_l(c.text, &libraryEnd, c.base, cLocale());
    int32_t value = -12345;
    const char* end = nullptr;
    EXPECT_EQ(wzParseInt(c.text, c.base, &value, &end), libraryEnd != c.text);
    EXPECT_EQ(value, static_cast<int32_t>(std::clamp<long>(expected, INT32_MIN, INT32_MAX)));
    EXPECT_EQ(end - c.text, libraryEnd - c.text);
  }
  // Bases strtol refuses.
  int32_t value = 5;
  const char* end = nullptr;
  for (int base : {1, 37, -2}) EXPECT_FALSE(wzParseInt("1", base, &value, &end)) << base;
}

TEST(AtoiTest, ReadsLikeAtoiAndSaturates) {
  struct Case {
    const char* text;
    int32_t value;
  } cases[] = {{"12", 12},
               {" -7,3", -7},
               {"+0", 0},
               {"x1", 0},
               {"", 0},
               {"0x10", 0},
               {"010", 10},
               {"3000000000", INT32_MAX},
               {"-3000000000", INT32_MIN},
               {"\t\n 300:20", 300}};
  for (const Case& c : cases) EXPECT_EQ(wzAtoi(c.text), c.value) << c.text;
}

// The same double, or both NaN: bit for bit, so -0 and 0 differ.
::testing::AssertionResult sameDouble(double expected, double actual) {
  if (std::isnan(expected) && std::isnan(actual) &&
      std::signbit(expected) == std::signbit(actual)) {
    return ::testing::AssertionSuccess();
  }
  if (std::memcmp(&expected, &actual, sizeof expected) == 0) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << std::hexfloat << "expected " << expected << ", got " << actual;
}

// Value, end and result as strtod gives them (0 and the start when nothing
// converts), and wzAtof's value.
void expectLikeStrtod(const std::string& text) {
  SCOPED_TRACE("text \"" + text + "\"");
  char* libraryEnd = nullptr;
  const double expected = strtod_l(text.c_str(), &libraryEnd, cLocale());
  double value = -12345.0;
  const char* end = nullptr;
  EXPECT_EQ(wzParseDouble(text.c_str(), &value, &end), libraryEnd != text.c_str());
  EXPECT_TRUE(sameDouble(expected, value));
  EXPECT_EQ(end - text.c_str(), libraryEnd - text.c_str());
  EXPECT_TRUE(sameDouble(expected, wzAtof(text.c_str())));
}

const char* const kTrickyDoubles[] = {
    // Plain decimals and their borders.
    "0", "3.14", "1234.5", "-0", "  -0", "+0.0", ".5", "-.5", "5.", "5.e3", ".", "-.", "+", "-", "",
    "e5", "E5", ".e5", "1e", "1e+", "1e-", "1e+5", "1E-5", "1e5x", "1.5.5", "00012.50", "1,5",
    "3,14", " \t\n\v\f\r42", "\2401", "--1", "+-1", "-+1", "- 1", "0.000001",
    "123456789012345678901234567890", "0.1e1", "1_000",
    // Plain decimals around the borders of the exact division: 2^53 as the
    // integer of all digits, 19 digits, 22 decimals.
    "9007199254740992", "9007199254740993", "900719925474099.2", "0.9007199254740992",
    "0.9007199254740993", "1234567890123456789", "0.0000000000000000000001",
    "0.00000000000000000000001", "1.0000000000000000000001", "4503599627370497.5",
    "000000000000000000000000001.5", "8.98846567431158e307",
    // Rounding of long digit strings: halfway cases and the classic hard ones.
    "9007199254740993", "9007199254740993.0000000001", "9007199254740995",
    "0.1000000000000000055511151231257827021181583404541015625", "2.2250738585072011e-308",
    "2.2250738585072012e-308", "1.00000000000000011102230246251565404236316680908203125",
    // Exponents out of range, overflow and underflow.
    "1e308", "1.7976931348623157e308", "1.7976931348623158e308", "1.7976931348623159e308", "1e309",
    "1e400", "-1e400", "1e-400", "-1e-400", "1e-310", "-1e-310", "4.9e-324",
    "2.4703282292062328e-324", "2.4703282292062327e-324", "3e-324", "2e-324",
    "1e99999999999999999999", "1e-99999999999999999999", "0e99999", "0.0e-99999",
    "0.00000000000000000000000000000000000000001e-290", "1000000000000000000000e288",
    "0.0000001e316", "99999999999999999999e300",
    // Hexadecimal floats.
    "0x1p3", "0X1P-3", "0x1.8p1", "0x.8p1", "0x1.", "0x1.p1", "0xA", "0xaBc.Def", "-0x1p-1074",
    "0x1p-1075", "0x1.8p-1075", "0x1p-1080", "0x1p1023", "0x1p1024", "-0x1p1024",
    "0x1.fffffffffffffp1023", "0x1.fffffffffffff8p1023", "0x0.00001p-1050", "0x100000p1000", "0x",
    "0X", "0xg", "0x.", "0x.p1", "0xp1", "0x1p", "0x1p+", "0x1pz", "-0x", "0x0p0",
    "0x1p99999999999999999999", "0x1p-99999999999999999999", "00x1",
    // Infinities and NaNs.
    "inf", "+inf", "-inf", "INF", "iNfInItY", "infinity", "infinit", "infinityx", "in", "nan",
    "-nan", "NaN", "nan(123)", "nan(abc_9)", "nan(", "nan(1 2)", "nan()", "nanx", "n",
    "-infinity "};

// Random texts built from the pieces a number is made of: every one must
// convert as strtod converts it in the "C" locale.
void expectRandomTextsLikeStrtod(uint32_t seed) {
  const char* const pieces[] = {"0",   "1",    "5",     "9",      "00",    "123",       ".",   ",",
                                "e",   "E",    "+",     "-",      "p",     "P",         "x",   "0x",
                                "a",   "f",    "F",     " ",      "\t",    "inf",       "nan", "e3",
                                "e-3", "e400", "e-400", "p-1074", "p1024", "9999999999"};
  std::mt19937 random(seed);
  std::uniform_int_distribution<size_t> pick(0, std::size(pieces) - 1);
  std::uniform_int_distribution<int> length(1, 8);
  for (int i = 0; i < 20000 && !::testing::Test::HasFailure(); ++i) {
    std::string text;
    for (int n = length(random); n > 0; --n) text += pieces[pick(random)];
    expectLikeStrtod(text);
  }
}

// Plain decimals as cells hold them, 1 to 24 digits with the point
// anywhere or nowhere, so that both sides of every border of the exact
// division are crossed many times.
void expectPlainDecimalsLikeStrtod(uint32_t seed) {
  std::mt19937 random(seed);
  std::uniform_int_distribution<int> digitCount(1, 24);
  std::uniform_int_distribution<int> digit(0, 9);
  for (int i = 0; i < 20000 && !::testing::Test::HasFailure(); ++i) {
    const int count = digitCount(random);
    std::string text;
    for (int n = 0; n < count; ++n) text += static_cast<char>('0' + digit(random));
    const int point = std::uniform_int_distribution<int>(-1, count)(random);
    if (point >= 0) text.insert(static_cast<size_t>(point), ".");
    expectLikeStrtod(text);
  }
}

TEST(ParseDoubleTest, AgreesWithStrtod) {
  for (const char* text : kTrickyDoubles) expectLikeStrtod(text);
  expectRandomTextsLikeStrtod(20240611);
  expectPlainDecimalsLikeStrtod(20261123);
}

TEST(LocaleTest, DecimalCommaLocaleChangesNothing) {
  // Restores the "C" locale however the test ends.
  struct CommaLocale {
    bool active = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    ~CommaLocale() { std::setlocale(LC_ALL, "C"); }
  } locale;
  if (!locale.active) {
    GTEST_SKIP() << "locale de_DE.UTF-8 is not installed (generate it with locale-gen)";
  }
  // The library itself now reads a decimal comma; ours must not.
  ASSERT_EQ(std::strtod("3,14", nullptr), 3.14);
  EXPECT_EQ(wzAtoi(" 1.234"), 1);
  EXPECT_TRUE(wzMatchKeyword("insel", "INSEL"));
  for (const char* text : kTrickyDoubles) expectLikeStrtod(text);
  expectRandomTextsLikeStrtod(7);
}

}  // namespace
}  // namespace wzss
