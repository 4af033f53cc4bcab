// SPDX-License-Identifier: MIT
#include "word_list.h"

#include <algorithm>

namespace loom {

namespace {

constexpr std::string_view literals = "Literals";
constexpr std::string_view arithmetic = "Arithmetic";
constexpr std::string_view comparison = "Comparison and logic";
constexpr std::string_view bits = "Bits";
constexpr std::string_view functions = "Functions of numbers";
constexpr std::string_view constants = "Constants";
constexpr std::string_view stack = "The stack";
constexpr std::string_view strings = "Strings";
constexpr std::string_view vectors = "Vectors";
constexpr std::string_view outside = "Values from outside";

constexpr WordRow rows[] = {
    {"123", literals, "( -- x )", "A number: 1.5, -2e3, 0xFF (base 16) or 017 (base 8).",
     "1.5 -2e3 0xFF 017", "1.5 -2000 255 15"},
    {"\"text\"", literals, "( -- s )",
     "A string; \\042 is a quote, \\134 a backslash, \\012 a line feed, \\x41 an A.",
     "\"say \\042hi\\042\" size", "8"},
    {"@name", literals, "( -- s )", "A symbol: a string that a host can tell from other strings.",
     "@red \"red\" ==", "1"},

    {"+", arithmetic, "( a b -- a+b )", "Adds two numbers, or joins two strings.", "1 2 +", "3"},
    {"-", arithmetic, "( a b -- a-b )", "Subtracts the top from the value below.", "5 3 -", "2"},
    {"*", arithmetic, "( a b -- a*b )", "Multiplies.", "6 7 *", "42"},
    {"/", arithmetic, "( a b -- a/b )", "Divides; a zero on top is an error.", "1 4 /", "0.25"},
    {"%", arithmetic, "( a b -- remainder )",
     "Remainder of a/b with the sign of a; a zero on top is an error.", "-7 3 %", "-1"},
    {"neg", arithmetic, "( x -- -x )", "Changes the sign.", "3 neg", "-3"},

    {"<", comparison, "( a b -- 1 or 0 )", "Less than; numbers or strings.", "1 2 <", "1"},
    {"<=", comparison, "( a b -- 1 or 0 )", "Less than or equal.", "2 2 <=", "1"},
    {">", comparison, "( a b -- 1 or 0 )", "Greater than.", "1 2 >", "0"},
    {">=", comparison, "( a b -- 1 or 0 )", "Greater than or equal.", "2 1 >=", "1"},
    {"==", comparison, "( a b -- 1 or 0 )",
     "Equal; numbers are equal when they differ by rounding only.", "0.1 0.2 + 0.3 ==", "1"},
    {"!=", comparison, "( a b -- 1 or 0 )", "Not equal.", "\"a\" \"b\" !=", "1"},
    {"!", comparison, "( a -- 1 or 0 )", "1 for 0, otherwise 0.", "0 !", "1"},
    {"&&", comparison, "( a b -- 1 or 0 )", "1 when neither is 0.", "2 3 &&", "1"},
    {"||", comparison, "( a b -- 1 or 0 )", "0 when both are 0.", "0 3 ||", "1"},

    {"&", bits, "( a b -- a&b )", "Bits that are set in both; whole numbers below 2^32.", "12 10 &",
     "8"},
    {"|", bits, "( a b -- a|b )", "Bits that are set in either.", "12 10 |", "14"},
    {"^", bits, "( a b -- a^b )", "Bits that are set in one of them only.", "12 10 ^", "6"},

    {"acos", functions, "( x -- angle )", "Arc cosine in radians; x from -1 to 1.", "1 acos", "0"},
    {"asin", functions, "( x -- angle )", "Arc sine in radians; x from -1 to 1.", "0 asin", "0"},
    {"atan", functions, "( x -- angle )", "Arc tangent in radians.", "0 atan", "0"},
    {"atan2", functions, "( y x -- angle )", "Angle of the point (x, y) in radians.",
     "1 1 atan2 M_PI_4 ==", "1"},
    {"ceil", functions, "( x -- n )", "Next whole number upwards.", "1.2 ceil", "2"},
    {"cos", functions, "( angle -- x )", "Cosine of an angle in radians.", "0 cos", "1"},
    {"cosh", functions, "( x -- y )", "Hyperbolic cosine.", "0 cosh", "1"},
    {"exp", functions, "( x -- e^x )", "e to the power of x.", "0 exp", "1"},
    {"fabs", functions, "( x -- |x| )", "Value without its sign.", "-3 fabs", "3"},
    {"floor", functions, "( x -- n )", "Next whole number downwards.", "-1.2 floor", "-2"},
    {"fmod", functions, "( x y -- remainder )", "The same as %.", "7.5 2 fmod", "1.5"},
    {"log", functions, "( x -- ln x )", "Natural logarithm; x above 0.", "M_E log", "1"},
    {"log10", functions, "( x -- log x )", "Logarithm to the base 10; x above 0.", "1000 log10",
     "3"},
    {"modf", functions, "( x -- whole fraction )", "Takes the whole part and the fraction apart.",
     "2.5 modf", "2 0.5"},
    {"pow", functions, "( x y -- x^y )", "x to the power of y.", "2 10 pow", "1024"},
    {"sin", functions, "( angle -- x )", "Sine of an angle in radians.", "0 sin", "0"},
    {"sinh", functions, "( x -- y )", "Hyperbolic sine.", "0 sinh", "0"},
    {"sqrt", functions, "( x -- root )", "Square root; x not below 0.", "2 sqrt",
     "1.4142135623731"},
    {"tan", functions, "( angle -- x )", "Tangent of an angle in radians.", "0 tan", "0"},
    {"tanh", functions, "( x -- y )", "Hyperbolic tangent.", "0 tanh", "0"},

    {"M_PI", constants, "( -- x )", "Pi, half a turn in radians.", "M_PI", "3.14159265358979"},
    {"M_2PI", constants, "( -- x )", "2 pi, a full turn.", "M_2PI", "6.28318530717959"},
    {"M_PI_2", constants, "( -- x )", "pi / 2.", "M_PI_2", "1.5707963267949"},
    {"M_PI_4", constants, "( -- x )", "pi / 4.", "M_PI_4", "0.785398163397448"},
    {"M_1_PI", constants, "( -- x )", "1 / pi.", "M_1_PI", "0.318309886183791"},
    {"M_2_PI", constants, "( -- x )", "2 / pi.", "M_2_PI", "0.636619772367581"},
    {"M_2_SQRTPI", constants, "( -- x )", "2 / the square root of pi.", "M_2_SQRTPI",
     "1.12837916709551"},
    {"M_E", constants, "( -- x )", "e, the base of natural logarithms.", "M_E", "2.71828182845905"},
    {"M_LN2", constants, "( -- x )", "Natural logarithm of 2.", "M_LN2", "0.693147180559945"},
    {"M_LN10", constants, "( -- x )", "Natural logarithm of 10.", "M_LN10", "2.30258509299405"},
    {"M_LOG2E", constants, "( -- x )", "Logarithm of e to the base 2.", "M_LOG2E",
     "1.44269504088896"},
    {"M_LOG10E", constants, "( -- x )", "Logarithm of e to the base 10.", "M_LOG10E",
     "0.434294481903252"},
    {"M_SQRT2", constants, "( -- x )", "Square root of 2.", "M_SQRT2", "1.4142135623731"},
    {"M_SQRT1_2", constants, "( -- x )", "Square root of 1/2.", "M_SQRT1_2", "0.707106781186548"},
    {"NULL", constants, "( -- void )", "The value that is none.", "NULL", "NULL"},

    {"dup", stack, "( a -- a a )", "Copies the top.", "7 dup *", "49"},
    {"dup2", stack, "( a b -- a b a )", "Copies the value below the top.", "1 2 dup2", "1 2 1"},
    {"dupx", stack, "( ... n -- ... v )",
     "Copies the value n places down; 1 dupx is dup, 2 dupx is dup2.", "1 2 3 3 dupx", "1 2 3 1"},
    {"pop", stack, "( a -- )", "Drops the top.", "1 2 pop", "1"},
    {"swap", stack, "( a b -- b a )", "Exchanges the two topmost values.", "1 2 swap", "2 1"},
    {"swapx", stack, "( ... n -- ... )",
     "Exchanges the top with the value n places down; 2 swapx is swap.", "1 2 3 3 swapx", "3 2 1"},

    {"size", strings, "( s -- n )", "Length of a string, or number of elements of a vector.",
     "\"abc\" size", "3"},
    {"empty", strings, "( s -- 1 or 0 )", "1 when a string or a vector has nothing in it.",
     "\"\" empty", "1"},
    {"find", strings, "( a b -- i )",
     "Position of the first b in a, from 0; -1 when there is none.", "\"abcabc\" \"b\" find", "1"},
    {"rfind", strings, "( a b -- i )", "Position of the last b in a; -1 when there is none.",
     "\"abcabc\" \"b\" rfind", "4"},
    {"substr", strings, "( s i n -- part )",
     "n characters from position i; with -1 as n, all the rest.", "\"abcdef\" 2 3 substr",
     "\"cde\""},
    {"insert", strings, "( a i b -- s )", "Puts b into a before position i.",
     "\"held\" 3 \"lo wor\" insert", "\"hello word\""},
    {"erase", strings, "( s i n -- s )", "Takes n characters out from position i.",
     "\"abcdef\" 1 2 erase", "\"adef\""},
    {"replace", strings, "( a i n b -- s )", "Puts b in place of n characters from position i.",
     "\"abcdef\" 1 2 \"X\" replace", "\"aXdef\""},
    {"float", strings, "( s -- x )", "Reads a number from a string.", "\" 12.5 \" float", "12.5"},
    {"string", strings, "( x -- s )", "Writes a number as a string of up to 15 digits.",
     "1 3 / string", "\"0.333333333333333\""},

    {"]", vectors, "( e1 ... en n -- v )", "Makes a vector of the n values below.", "1 2 3 3 ]",
     "[1 2 3]"},
    {"[", vectors, "( v i -- element )", "Element i of a vector, from 0.", "7 8 9 3 ] 1 [", "8"},

    {"$name", outside, "( -- value )", "The host's parameter `name`; also ${name}.",
     "${height:-2} 3 *", "6"},
    {"${name:-expr}", outside, "( -- value )",
     "The parameter, or what the expression gives when there is none.", "${height:-${width:-5}}",
     "5"},
    {"argc", outside, "( n -- )",
     "Begins a local function that takes n arguments off its caller's stack.", "3 4 area", "12",
     "area=2 argc $0 $1 *"},
    {"$0", outside, "( -- value )",
     "Argument of a local function, $0 being the deepest; $1, $2 and so on.", "10 4 minus", "6",
     "minus=2 argc $0 $1 -"},
};

}  // namespace

std::span<const WordRow> wordList() { return rows; }

const WordRow* findWord(std::string_view name) {
  const auto found = std::find_if(std::begin(rows), std::end(rows),
                                  [&](const WordRow& row) { return row.name == name; });
  return found == std::end(rows) ? nullptr : found;
}

bool isWord(std::string_view name) {
  return !name.empty() && (name[0] == '_' || (name[0] | 32) >= 'a') && (name[0] | 32) <= 'z';
}

}  // namespace loom
