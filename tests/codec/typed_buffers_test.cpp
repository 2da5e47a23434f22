#include "codec/typed_buffers.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "codec/console.h"
#include "tests/support/console_capture.h"

namespace depth_io::test {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kAddressSanitizer = true;
#elif defined(__has_feature)
constexpr bool kAddressSanitizer = __has_feature(address_sanitizer);
#else
constexpr bool kAddressSanitizer = false;
#endif

void expect_silent(const ConsoleTrace& trace) {
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
}

template <typename Buffer>
void fill_ascending(Buffer& buffer, int first) {
  using Element = std::remove_reference_t<decltype(buffer.buffer[0])>;
  for (int i = 0; i < buffer.N; ++i) buffer.buffer[i] = static_cast<Element>(first + i);
}

template <typename Buffer>
std::vector<int> contents(const Buffer& buffer) {
  std::vector<int> values;
  for (int i = 0; i < buffer.N; ++i) values.push_back(static_cast<int>(buffer.buffer[i]));
  return values;
}

template <typename Buffer>
void expect_empty(const Buffer& buffer) {
  if constexpr (requires { buffer.N1D; }) {
    EXPECT_EQ(buffer.N1D, 0);
    EXPECT_EQ(buffer.arr1D, nullptr);
  } else {
    EXPECT_EQ(buffer.N, 0);
    EXPECT_EQ(buffer.buffer, nullptr);
  }
}

std::string text_of(const depth_io_ClassBufferChar& row) { return row.buffer; }

// --- What every single-level buffer does ---------------------------------------------------------

template <typename Buffer>
class SingleLevelBuffer : public testing::Test {};

using SingleLevelBuffers =
    testing::Types<depth_io_ClassBuffer, depth_io_ClassBufferDOUBLE, depth_io_ClassBufferUC,
                   depth_io_ClassBufferUS, depth_io_ClassBufferBOOL, depth_io_ClassBufferINT,
                   depth_io_ClassBufferChar>;
TYPED_TEST_SUITE(SingleLevelBuffer, SingleLevelBuffers);

TYPED_TEST(SingleLevelBuffer, IsEmptyAfterConstructionAndInitLeavesItSo) {
  TypeParam buffer;
  expect_empty(buffer);
  expect_silent(capture_console([&] { buffer.Init(1); }));
  expect_empty(buffer);
}

TYPED_TEST(SingleLevelBuffer, CreateAllocatesAndInitSetsEveryElement) {
  TypeParam buffer;
  for (const int size : {1, 1000, 7}) {
    expect_silent(capture_console([&] { buffer.Create(size); }));
    EXPECT_EQ(buffer.N, size);
    buffer.Init(1);
    EXPECT_EQ(contents(buffer), std::vector<int>(static_cast<std::size_t>(size), 1));
    buffer.Init(0);
    EXPECT_EQ(contents(buffer), std::vector<int>(static_cast<std::size_t>(size), 0));
    buffer.Kill();
    expect_empty(buffer);
  }
}

TYPED_TEST(SingleLevelBuffer, KillOfAnEmptyOneDoesNothing) {
  TypeParam buffer;
  for (int round = 0; round < 2; ++round) {
    expect_silent(capture_console([&] { buffer.Kill(); }));
    expect_empty(buffer);
  }
}

TYPED_TEST(SingleLevelBuffer, KillLeavesACountOrAPointerThatStandsAlone) {
  std::remove_reference_t<decltype(TypeParam().buffer[0])> element{};
  TypeParam buffer;
  buffer.buffer = &element;
  buffer.Kill();
  EXPECT_EQ(buffer.buffer, &element);
  buffer.buffer = nullptr;
  buffer.N = 5;
  buffer.Kill();
  EXPECT_EQ(buffer.N, 5);
}

// Kept: callers rely on Kill being separate.
TYPED_TEST(SingleLevelBuffer, CreateDoesNotReleaseAnEarlierArray) {
  TypeParam buffer;
  buffer.Create(3);
  buffer.Init(1);
  auto* const first = buffer.buffer;
  buffer.Create(5);
  EXPECT_EQ(buffer.N, 5);
  EXPECT_NE(buffer.buffer, first);
  EXPECT_EQ(static_cast<int>(first[2]), 1);
  delete[] first;
}

TYPED_TEST(SingleLevelBuffer, CreateBelowOneLeavesItAsItWas) {
  for (const int size : {0, -1, -5, INT_MIN}) {
    TypeParam buffer;
    const ConsoleTrace trace = capture_console([&] { buffer.Create(size); });
    expect_empty(buffer);
    if (!std::is_same_v<TypeParam, depth_io_ClassBufferINT>) expect_silent(trace);
    buffer.Create(2);
    buffer.Init(1);
    capture_console([&] { buffer.Create(size); });
    EXPECT_EQ(contents(buffer), (std::vector<int>{1, 1}));
  }
}

template <typename Buffer>
class ZeroFilledBuffer : public testing::Test {};
using ZeroFilledBuffers =  // booleans are undefined until Init
    testing::Types<depth_io_ClassBuffer, depth_io_ClassBufferDOUBLE, depth_io_ClassBufferUC,
                   depth_io_ClassBufferUS, depth_io_ClassBufferINT, depth_io_ClassBufferChar>;
TYPED_TEST_SUITE(ZeroFilledBuffer, ZeroFilledBuffers);

TYPED_TEST(ZeroFilledBuffer, CreateFillsWithZeros) {
  // Released memory that is full of other values is likely to be handed out again.
  for (const int size : {333, 333, 333, 333, 1, 1, 1, 1}) {
    TypeParam buffer;
    buffer.Create(size);
    ASSERT_EQ(contents(buffer), std::vector<int>(static_cast<std::size_t>(size), 0));
    buffer.Init(77);
  }
}

// --- Copies --------------------------------------------------------------------------------------

// One copy under two names, so that the tests below need one form only.
template <typename Buffer, typename Source>
int copy(Buffer& target, Source&& source) {
  if constexpr (requires { target.CopyFromUC(source); }) return target.CopyFromUC(source);
  if constexpr (requires { target.CopyFrom(source); }) return target.CopyFrom(source);
}

// The result of a copy that must be silent.
template <typename Buffer, typename Source>
int copy_silently(Buffer& target, Source&& source) {
  int result = -1;
  expect_silent(capture_console([&] { result = copy(target, source); }));
  return result;
}

// A copy that must fail after printing `message` and waiting `keys` times.
template <typename Buffer>
void expect_refused(Buffer& target, Buffer& source, const std::string& message, int keys) {
  int result = -1;
  const ConsoleTrace trace = capture_console([&] { result = copy(target, source); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(trace.output, message);
  EXPECT_EQ(trace.keys, keys);
}

template <typename Buffer>
std::string size_message(int source_size, int size) {
  const std::string source = std::to_string(source_size);
  const std::string target = std::to_string(size);
  const std::string both = "sizes different: src.N " + source + " vs N " + target + "\n";
  const bool is_float = std::is_same_v<Buffer, depth_io_ClassBuffer>;
  if (is_float) return "ERROR depth_io_ClassBuffer::CopyFrom " + both;
  const bool is_double = std::is_same_v<Buffer, depth_io_ClassBufferDOUBLE>;
  if (is_double) return "ERROR depth_io_ClassBufferDOUBLE::CopyFrom " + both;
  const bool is_bool = std::is_same_v<Buffer, depth_io_ClassBufferBOOL>;
  if (is_bool) return " - ERROR - depth_io_ClassBufferBOOL::CopyFrom - Size Differ\n";
  const bool is_char = std::is_same_v<Buffer, depth_io_ClassBufferChar>;
  if (is_char) return "ERROR depth_io_ClassBufferChar::CopyFrom N different\n";
  return "ERROR depth_io_ClassBufferUC::CopyFrom N different " + source + " vs " + target + "\n";
}

template <typename Buffer>
class CopiedBuffer : public testing::Test {};

using CopiedBuffers =
    testing::Types<depth_io_ClassBuffer, depth_io_ClassBufferDOUBLE, depth_io_ClassBufferUC,
                   depth_io_ClassBufferBOOL, depth_io_ClassBufferChar>;
TYPED_TEST_SUITE(CopiedBuffer, CopiedBuffers);

TYPED_TEST(CopiedBuffer, SameSizeCopiesEveryElement) {
  for (const int size : {1, 10}) {
    TypeParam source;
    TypeParam target;
    source.Create(size);
    target.Create(size);
    fill_ascending(source, 0);
    target.Init(1);
    EXPECT_EQ(copy_silently(target, source), 1);
    EXPECT_EQ(contents(target), contents(source));
    EXPECT_NE(target.buffer, source.buffer);
  }
}

TYPED_TEST(CopiedBuffer, OtherSizeIsReportedAndLeavesTheTarget) {
  const int sizes[][2] = {{12, 10}, {9, 10}, {1, 10}, {0, 10}, {3, 0}};
  for (const auto& [source_size, size] : sizes) {
    TypeParam source;
    TypeParam target;
    source.Create(source_size);
    source.Init(0);
    if (size > 0) target.Create(size);
    target.Init(1);
    expect_refused(target, source, size_message<TypeParam>(source_size, size), 1);
    EXPECT_EQ(contents(target), std::vector<int>(static_cast<std::size_t>(size), 1));
  }
}

TYPED_TEST(CopiedBuffer, TwoEmptyOnesAreOfTheSameSize) {
  TypeParam source;
  TypeParam target;
  EXPECT_EQ(copy_silently(target, source), 1);
  expect_empty(target);
}

TYPED_TEST(CopiedBuffer, CopiesFromItself) {
  TypeParam buffer;
  buffer.Create(2);
  fill_ascending(buffer, 0);
  EXPECT_EQ(copy_silently(buffer, buffer), 1);
  EXPECT_EQ(contents(buffer), (std::vector<int>{0, 1}));
}

template <typename Buffer>
class RawCopiedBuffer : public testing::Test {};
using RawCopiedBuffers =
    testing::Types<depth_io_ClassBuffer, depth_io_ClassBufferDOUBLE, depth_io_ClassBufferUC>;
TYPED_TEST_SUITE(RawCopiedBuffer, RawCopiedBuffers);

TYPED_TEST(RawCopiedBuffer, CopiesItsOwnCountOfElements) {
  std::remove_reference_t<decltype(TypeParam().buffer[0])> raw[] = {3, 1, 4, 1, 5, 9};
  TypeParam target;
  target.Create(4);
  EXPECT_EQ(copy(target, raw), 1);
  EXPECT_EQ(contents(target), (std::vector<int>{3, 1, 4, 1}));
}

TYPED_TEST(RawCopiedBuffer, EmptyOneReadsNothing) {
  TypeParam target;
  EXPECT_EQ(copy(target, target.buffer), 1);
  expect_empty(target);
}

// --- Ints: sizes are reported --------------------------------------------------------------------

std::string int_size_messages(int size) {
  return "depth_io_ClassBufferINT::Create - ERROR SIZE " + std::to_string(size) +
         "\nERROR depth_io_ClassBufferINT::Create( " + std::to_string(size) + " )\n";
}

TEST(IntBuffer, SizeBelowOneIsReportedTwiceWithTwoWaits) {
  for (const int size : {0, -1, -5, INT_MIN}) {
    const std::string messages = int_size_messages(size);
    depth_io_ClassBufferINT buffer;
    const ConsoleTrace trace = capture_console([&] { buffer.Create(size); });
    EXPECT_EQ(trace.output, messages);
    EXPECT_EQ(trace.keys, 2);
    expect_empty(buffer);
    const ConsoleTrace made = capture_console([&] { depth_io_ClassBufferINT constructed(size); });
    EXPECT_EQ(made.output, messages);
    EXPECT_EQ(made.keys, 2);
  }
}

// Prints and waits ("<key>") of creating `size` ints when there is no memory for them.
[[noreturn]] void expect_without_memory(int size, const std::string& expected) {
  std::string log;
  set_print_handler(
      [](void* context, const char* text, std::size_t length) {
        static_cast<std::string*>(context)->append(text, length);
      },
      &log);
  set_key_wait_handler([](void* context) { *static_cast<std::string*>(context) += "<key>"; }, &log);
  const rlimit limit = {rlim_t{2} << 30, rlim_t{2} << 30};
  if (setrlimit(RLIMIT_AS, &limit) != 0) std::_Exit(2);
  depth_io_ClassBufferINT buffer;
  try {
    buffer.Create(size);
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "printed: %s\n", log.c_str());
    std::_Exit(buffer.buffer == nullptr && log == expected ? 0 : 3);
  }
  std::_Exit(4);
}

class IntBufferDeathTest : public testing::Test {
 protected:
  void SetUp() override {
    if (kAddressSanitizer) {
      GTEST_SKIP() << "AddressSanitizer reserves more address space than the limit of this test";
    }
  }
};

TEST_F(IntBufferDeathTest, SizeAboveAThousandMillionIsReportedOnceThenAllocated) {
  for (const int size : {1500000000, 1000000001, INT_MAX}) {
    const std::string message =
        "depth_io_ClassBufferINT::Create - ERROR SIZE " + std::to_string(size) + "\n<key>";
    EXPECT_EXIT(expect_without_memory(size, message), testing::ExitedWithCode(0), "");
  }
}

TEST_F(IntBufferDeathTest, SizeOfAThousandMillionIsNotReported) {
  EXPECT_EXIT(expect_without_memory(1000000000, ""), testing::ExitedWithCode(0), "");
}

// --- Characters ----------------------------------------------------------------------------------

TEST(SizedConstructor, CreatesZeros) {
  EXPECT_EQ(contents(depth_io_ClassBufferINT(6)), std::vector<int>(6, 0));
  const depth_io_ClassBufferChar buffer(27);
  EXPECT_EQ(text_of(buffer), "");
  EXPECT_EQ(contents(buffer), std::vector<int>(27, 0));
}

TEST(CharBuffer, SizedConstructorBelowOneLeavesItEmpty) {
  for (const int size : {0, -3}) expect_empty(depth_io_ClassBufferChar(size));
}

TEST(CharBuffer, CopiesAlsoWhatFollowsTheNul) {
  depth_io_ClassBufferChar source(4);
  depth_io_ClassBufferChar target(4);
  source.buffer[0] = 'a';
  source.buffer[2] = 'b';
  EXPECT_EQ(target.CopyFrom(source), 1);
  EXPECT_EQ(contents(target), (std::vector<int>{'a', 0, 'b', 0}));
}

template <typename... Buffers>
constexpr bool kNoneIsCopied = ((!std::is_copy_constructible_v<Buffers> &&
                                 !std::is_copy_assignable_v<Buffers>)&&...);

// A copy would release the same array twice.
static_assert(
    kNoneIsCopied<depth_io_ClassBuffer, depth_io_ClassBufferDOUBLE, depth_io_ClassBufferUC,
                  depth_io_ClassBufferUS, depth_io_ClassBufferBOOL, depth_io_ClassBufferINT,
                  depth_io_ClassBufferChar, depth_io_ClassBuffer1D, depth_io_ClassBufferUC1D,
                  depth_io_ClassBufferChar1D>);

// --- Rows ----------------------------------------------------------------------------------------

template <typename Rows>
class TwoLevelBuffer : public testing::Test {};
using TwoLevelBuffers =
    testing::Types<depth_io_ClassBuffer1D, depth_io_ClassBufferUC1D, depth_io_ClassBufferChar1D>;
TYPED_TEST_SUITE(TwoLevelBuffer, TwoLevelBuffers);

TYPED_TEST(TwoLevelBuffer, CreateMakesRowsOfZerosAlsoAfterKill) {
  TypeParam rows;
  for (const int count : {3, 1, 2}) {
    expect_silent(capture_console([&] { rows.Create(count, 5); }));
    ASSERT_EQ(rows.N1D, count);
    for (int i = 0; i < count; ++i) EXPECT_EQ(contents(rows.arr1D[i]), std::vector<int>(5, 0));
    rows.Kill();
    expect_empty(rows);
  }
}

TYPED_TEST(TwoLevelBuffer, RowsWithoutElementsAreEmptyRows) {
  for (const int columns : {0, -4}) {
    TypeParam rows;
    expect_silent(capture_console([&] { rows.Create(2, columns); }));
    ASSERT_EQ(rows.N1D, 2);
    expect_empty(rows.arr1D[1]);
  }
}

TYPED_TEST(TwoLevelBuffer, KillOfAnEmptyOneDoesNothing) {
  TypeParam rows;
  for (int round = 0; round < 2; ++round) {
    expect_empty(rows);
    expect_silent(capture_console([&] { rows.Kill(); }));
  }
}

TYPED_TEST(TwoLevelBuffer, KillLeavesACountOrAPointerThatStandsAlone) {
  std::remove_reference_t<decltype(TypeParam().arr1D[0])> row;
  TypeParam rows;
  rows.arr1D = &row;
  rows.Kill();
  EXPECT_EQ(rows.arr1D, &row);
  rows.arr1D = nullptr;
  rows.N1D = 5;
  rows.Kill();
  EXPECT_EQ(rows.N1D, 5);
}

TEST(FloatRows, CreateTellsWhetherThereAreRows) {
  depth_io_ClassBuffer1D rows;
  int made = -1;
  for (const int count : {0, -2}) {
    expect_silent(capture_console([&] { made = rows.Create(count, 5); }));
    EXPECT_EQ(made, 0);
    expect_empty(rows);
  }
  EXPECT_EQ(rows.Create(1, 0), 1);
  EXPECT_EQ(rows.GetN1D(), 1);
}

TEST(FloatRows, SizedConstructorCreates) {
  depth_io_ClassBuffer1D rows(2, 3);
  EXPECT_EQ(rows.GetN1D(), 2);
  EXPECT_EQ(contents(rows.arr1D[1]), (std::vector<int>{0, 0, 0}));
  expect_empty(depth_io_ClassBuffer1D(0, 3));
}

TEST(FloatRows, CreatePartiallyMakesEmptyRowsThatGetTheirOwnLengths) {
  depth_io_ClassBuffer1D rows;
  for (const int none : {0, -7}) {
    rows.CreatePartially(none);
    expect_empty(rows);
  }
  rows.CreatePartially(3);
  ASSERT_EQ(rows.GetN1D(), 3);
  for (int i = 0; i < 3; ++i) {
    expect_empty(rows.arr1D[i]);
  }
  rows.arr1D[0].Create(2);
  rows.arr1D[2].Create(1);
  rows.Init(8.0f);
  EXPECT_EQ(contents(rows.arr1D[0]), (std::vector<int>{8, 8}));
  expect_empty(rows.arr1D[1]);
  EXPECT_EQ(contents(rows.arr1D[2]), (std::vector<int>{8}));
}

TEST(ByteRows, CreateBelowOneDoesNothing) {
  for (const int count : {0, -1}) {
    depth_io_ClassBufferUC1D rows;
    expect_silent(capture_console([&] { rows.Create(count, 5); }));
    expect_empty(rows);
  }
}

TEST(ByteRows, CopyTakesEveryRow) {
  depth_io_ClassBufferUC1D source;
  depth_io_ClassBufferUC1D target;
  source.Create(3, 2);
  target.Create(3, 2);
  for (int i = 0; i < 3; ++i) fill_ascending(source.arr1D[i], 250 + 2 * i);
  EXPECT_EQ(copy_silently(target, source), 1);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(contents(target.arr1D[i]), contents(source.arr1D[i]));
}

TEST(ByteRows, CopyOfAnotherCountOfRowsIsReportedAndLeavesTheTarget) {
  depth_io_ClassBufferUC1D source;
  depth_io_ClassBufferUC1D target;
  source.Create(2, 4);
  target.Create(3, 4);
  target.Init(9);
  expect_refused(target, source, "ERROR depth_io_ClassBufferUC1D::CopyFrom N1D different\n", 1);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(contents(target.arr1D[i]), std::vector<int>(4, 9));
}

TEST(ByteRows, CopyStopsAtTheFirstRowOfAnotherSize) {
  depth_io_ClassBufferUC1D source;
  depth_io_ClassBufferUC1D target;
  source.Create(4, 3);
  source.Init(5);
  target.Create(4, 3);
  target.arr1D[2].Kill();
  target.arr1D[2].Create(7);
  target.Init(9);
  expect_refused(target, source,
                 "ERROR depth_io_ClassBufferUC::CopyFrom N different 3 vs 7\n"
                 "ERROR depth_io_ClassBufferUC1D::CopyFrom copy arr[2] failed\n",
                 2);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(contents(target.arr1D[i]), std::vector<int>(3, 5));
  EXPECT_EQ(contents(target.arr1D[2]), std::vector<int>(7, 9));
  EXPECT_EQ(contents(target.arr1D[3]), std::vector<int>(3, 9));
}

// --- Text table ----------------------------------------------------------------------------------

int insert_silently(depth_io_ClassBufferChar1D& table, const std::string& text) {
  int row = -2;
  expect_silent(capture_console([&] { row = table.Insert(Text(text)); }));
  return row;
}

void expect_full(depth_io_ClassBufferChar1D& table) {
  const int before = table.GetCounter();
  int row = -2;
  const ConsoleTrace trace = capture_console([&] { row = table.Insert(Text("more")); });
  EXPECT_EQ(row, -1);
  EXPECT_EQ(trace.output, "Cound not insert string, full array\n");
  EXPECT_EQ(trace.keys, 0);
  EXPECT_EQ(table.GetCounter(), before);
}

TEST(TextTable, InsertsUntilItIsFull) {
  depth_io_ClassBufferChar1D table;
  table.Create(3, 10);
  EXPECT_EQ(table.GetCounter(), 0);
  EXPECT_EQ(insert_silently(table, "zero"), 0);
  EXPECT_EQ(insert_silently(table, "one"), 1);
  EXPECT_EQ(insert_silently(table, ""), 2);
  EXPECT_EQ(table.GetCounter(), 3);
  expect_full(table);
  EXPECT_EQ(text_of(table.arr1D[0]), "zero");
  EXPECT_EQ(text_of(table.arr1D[1]), "one");
  EXPECT_EQ(text_of(table.arr1D[2]), "");
}

TEST(TextTable, AfterResetOverwritesFromTheFirstRow) {
  depth_io_ClassBufferChar1D table;
  table.Create(2, 10);
  for (const char* text : {"zero", "one"}) insert_silently(table, text);
  table.ResetCounter();
  EXPECT_EQ(table.GetCounter(), 0);
  EXPECT_EQ(insert_silently(table, "new"), 0);
  EXPECT_EQ(text_of(table.arr1D[0]), "new");
  EXPECT_EQ(text_of(table.arr1D[1]), "one");
}

TEST(TextTable, WithoutRowsOrWithACounterOutsideIsFull) {
  depth_io_ClassBufferChar1D table;
  expect_full(table);
  for (const int rows : {0, -3}) {
    table.Create(rows, 10);
    expect_full(table);
  }
  table.Create(2, 10);
  for (const int counter : {-1, INT_MIN, 2, 3, INT_MAX}) {
    table.Counter = counter;
    expect_full(table);
  }
}

TEST(TextTable, TakesWhatJustFitsAndRefusesLongerTextsSilently) {
  depth_io_ClassBufferChar1D table;
  table.Create(2, 5);
  EXPECT_EQ(insert_silently(table, "kept"), 0);
  for (const std::size_t length : {std::size_t{5}, std::size_t{6}, std::size_t{100000}}) {
    EXPECT_EQ(insert_silently(table, std::string(length, 'x')), -1) << length;
    EXPECT_EQ(table.GetCounter(), 1);
  }
  EXPECT_EQ(text_of(table.arr1D[0]), "kept");
  EXPECT_EQ(text_of(table.arr1D[1]), "");
  EXPECT_EQ(insert_silently(table, "four"), 1);
}

TEST(TextTable, RefusesNullSilently) {
  depth_io_ClassBufferChar1D table;
  table.Create(2, 5);
  int row = -2;
  expect_silent(capture_console([&] { row = table.Insert(nullptr); }));
  EXPECT_EQ(row, -1);
  EXPECT_EQ(table.GetCounter(), 0);
}

TEST(TextTable, EvenAnEmptyTextNeedsOneCharacter) {
  depth_io_ClassBufferChar1D hollow;
  hollow.Create(2, 0);
  EXPECT_EQ(insert_silently(hollow, ""), -1);
  EXPECT_EQ(hollow.GetCounter(), 0);
  depth_io_ClassBufferChar1D narrow;
  narrow.Create(2, 1);
  EXPECT_EQ(insert_silently(narrow, ""), 0);
}

TEST(TextTable, CreateAndKillResetTheCounter) {
  depth_io_ClassBufferChar1D table;
  table.Counter = 5;
  table.Create(3, 10);
  EXPECT_EQ(table.GetCounter(), 0);
  insert_silently(table, "zero");
  table.Kill();
  EXPECT_EQ(table.GetCounter(), 0);
  table.Counter = 5;
  table.Kill();
  EXPECT_EQ(table.GetCounter(), 0) << "also when there is nothing to release";
}

}  // namespace
}  // namespace depth_io::test
