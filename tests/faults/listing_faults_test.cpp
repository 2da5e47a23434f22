#include <filesystem>
#include <numeric>
#include <utility>
#include <vector>

#include "catalogue/catalogue.h"
#include "tests/faults/fault_walk.h"

// Faults while recordings are listed.
namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

constexpr int kFolders = 3;
constexpr int kFramesEach = 4;

std::string folder_name(int folder) { return "0000000" + std::to_string(folder); }

std::string frame_stamp(int folder, int frame) {
  return stamp_text({2013, 4, 9, 14, folder, kFramesEach - frame, 0});
}

/// A recording of numbered sub-directories; what a listing looks at, that is.
class ListedRecording {
 public:
  ListedRecording() {
    for (int folder = 0; folder < kFolders; ++folder) {
      fs::create_directory(path(folder));
      for (int frame = 0; frame < kFramesEach; ++frame) {
        touch_frame(path(folder), frame_stamp(folder, frame));
      }
    }
  }
  const std::string& path() const { return directory_.path(); }
  std::string path(int folder) const { return directory_.file(folder_name(folder)); }

  /// What is to stand in a folder's `list.txt`: its frames by time.
  static std::string list(int folder) {
    std::string lines;
    for (int i = 0; i < kFramesEach; ++i) {
      lines += std::to_string(i) + " " + frame_stamp(folder, kFramesEach - 1 - i) + "\n";
    }
    return lines;
  }
  static std::string info(int folder) {
    return "start 0 " + frame_stamp(folder, kFramesEach - 1) + "\nend " +
           std::to_string(kFramesEach - 1) + " " + frame_stamp(folder, 0) + "\n";
  }

 private:
  TempDirectory directory_;
};

/// `ListEntriesInDir`: writes catalogue files.
class DirectoryWork : public Work {
 public:
  void prepare() override {}
  bool act() override {
    listed_ = ListEntriesInDir(recording_.path().c_str());
    return listed_ == kFolders && !console.complains();
  }
  /// Files that cannot be created are not told.
  bool may_be_silent() const override { return !has_all_files(); }
  bool has_all_files() const {
    bool all = fs::exists(recording_.path() + "/info.txt");
    for (int folder = 0; folder < kFolders; ++folder) {
      all = all && fs::exists(recording_.path(folder) + "/list.txt") &&
            fs::exists(recording_.path() + "/info" + folder_name(folder) + ".txt");
    }
    return all;
  }
  void check(bool told_success) override {
    told_success = told_success && has_all_files();
    for (int folder = 0; folder < kFolders; ++folder) {
      const std::string info = recording_.path() + "/info" + folder_name(folder) + ".txt";
      expect_whole(recording_.path(folder) + "/list.txt", ListedRecording::list(folder),
                   told_success);
      expect_whole(info, ListedRecording::info(folder), told_success);
    }
    if (told_success) {
      EXPECT_EQ(read_file(recording_.path() + "/info.txt"), "nb_sub_dir 3\n");
    }
    for (const auto& entry : fs::recursive_directory_iterator(recording_.path())) {
      EXPECT_FALSE(entry.path().filename().string().starts_with(".")) << entry.path();
    }
  }
  void resume() override {
    console.clear();
    EXPECT_TRUE(act()) << console.text();
    check(true);
    for (const auto& entry : fs::recursive_directory_iterator(recording_.path())) {
      if (entry.path().extension() == ".txt") fs::remove(entry.path());
    }
  }

 private:
  /// A catalogue file is whole, or not there.
  static void expect_whole(const std::string& path, const std::string& text, bool is_there) {
    if (is_there || fs::exists(path)) {
      EXPECT_EQ(read_file(path), text) << path;
    }
  }

  ListedRecording recording_;
  int listed_ = 0;
};

/// `ListEntriesInSubDir`: fills tables.
class FolderWork : public Work {
 public:
  FolderWork() {
    sorted_stamps_.Create(10, 30);
    stamps_.Create(10, 30);
    times_.Create(10);
    order_.Create(10);
  }
  void prepare() override {}
  bool act() override {
    return ListEntriesInSubDir(path_.c_str(), sorted_stamps_, stamps_, times_, order_) ==
           kFramesEach;
  }
  void check(bool told_success) override {
    if (!told_success) {
      EXPECT_EQ(sorted_stamps_.GetCounter(), 0);
      return;
    }
    ASSERT_EQ(sorted_stamps_.GetCounter(), kFramesEach);
    for (int i = 0; i < kFramesEach; ++i) {
      EXPECT_EQ(sorted_stamps_.arr1D[i].buffer, frame_stamp(1, kFramesEach - 1 - i));
    }
  }
  void resume() override {
    EXPECT_TRUE(act()) << console.text();
    check(true);
  }

 private:
  ListedRecording recording_;
  std::string path_ = recording_.path(1);
  depth_io_ClassBufferChar1D sorted_stamps_;
  depth_io_ClassBufferChar1D stamps_;
  depth_io_ClassBufferDOUBLE times_;
  depth_io_ClassBufferINT order_;
};

/// The number of sub-directories, out of `info.txt`.
class InfoWork : public Work {
 public:
  InfoWork() { write_file(recording_.path() + "/info.txt", "nb_sub_dir 3\n"); }
  void prepare() override {}
  bool act() override { return ReadInfoNbSubDir(path_.data()) == kFolders; }
  void check(bool) override {}
  void resume() override { EXPECT_TRUE(act()) << console.text(); }

 private:
  ListedRecording recording_;
  std::string path_ = recording_.path();
};

/// Both scripts, in the current directory.
class ScriptWork : public Work {
 public:
  ScriptWork() : before_(fs::current_path()) { fs::current_path(place_.path()); }
  ~ScriptWork() override { fs::current_path(before_); }
  void prepare() override {}
  bool act() override {
    CreateSubDirBatch(directory_.data(), 2);
    ReadSubDirBatch_part1(directory_.data(), 2);
    return !console.complains();
  }
  /// Scripts that cannot be created are not told.
  bool may_be_silent() const override { return !has_both(); }
  static bool has_both() {
    return fs::exists("batch_create_empty_sub_dir.sh") && fs::exists("batch_read_sub_dir.sh");
  }
  void check(bool told_success) override {
    told_success = told_success && has_both();
    expect_whole("batch_create_empty_sub_dir.sh",
                 "mkdir rec\ncd rec\nmkdir 00000000\nmkdir 00000001\n", told_success);
    expect_whole("batch_read_sub_dir.sh",
                 "cd rec\ncd 00000000\nls *.rle > ls.txt\ncd ..\ncd 00000001\nls *.rle > ls.txt\n"
                 "cd ..\n",
                 told_success);
  }
  void resume() override {
    console.clear();
    EXPECT_TRUE(act()) << console.text();
    check(true);
    for (const auto& entry : fs::directory_iterator(".")) fs::remove(entry);
  }

 private:
  static void expect_whole(const char* name, const std::string& text, bool is_there) {
    if (is_there || fs::exists(name)) {
      EXPECT_EQ(read_file(name), text);
    }
  }

  TempDirectory place_;
  fs::path before_;
  std::string directory_ = "rec";
};

/// Summaries of shell listings, written.
class SummaryWork : public Work {
 public:
  SummaryWork() {
    for (int folder = 0; folder < kFolders; ++folder) {
      write_file(recording_.path(folder) + "/ls.txt", "first-depth.rle\nlast-depth.rle\n");
    }
  }
  void prepare() override {}
  bool act() override {
    ReadSubDirBatch_part2(path_.data(), kFolders);
    return !console.complains();
  }
  void check(bool told_success) override {
    for (int folder = 0; folder < kFolders; ++folder) {
      const std::string path = path_ + "/fresume" + folder_name(folder) + ".txt";
      const bool must_be_there = told_success && !may_pass_over_;
      if (must_be_there || fs::exists(path)) {
        EXPECT_EQ(read_file(path), "start first-depth.rle\nstop last-depth.rle\n");
      }
    }
  }
  void resume() override {
    console.clear();
    EXPECT_TRUE(act()) << console.text();
    EXPECT_EQ(ReadNbSubDir(path_.data(), 10), kFolders);
    for (int folder = 0; folder < kFolders; ++folder) {
      EXPECT_TRUE(fs::remove(path_ + "/fresume" + folder_name(folder) + ".txt"));
    }
  }

 protected:
  bool may_pass_over_ = false;

 private:
  ListedRecording recording_;
  std::string path_ = recording_.path();
};

/// The same with faults of openings: a listing that cannot be opened is passed over in silence.
class PassedOverSummaryWork : public SummaryWork {
 public:
  PassedOverSummaryWork() { may_pass_over_ = true; }
};

/// `BubbleSort` of more values than it exchanges in place.
class SortWork : public Work {
 public:
  SortWork() {
    for (int i = 0; i < kValues; ++i) unsorted_.push_back(i * 7919 % 101 % 40);
    exchange_all_pairs();
  }
  void prepare() override {
    values_ = unsorted_;
    order_.assign(kValues, -1);
  }
  bool act() override { return BubbleSort(kValues, values_.data(), order_.data(), kValues); }
  void check(bool told_success) override {
    EXPECT_EQ(values_, told_success ? sorted_ : unsorted_);
    EXPECT_EQ(order_, told_success ? sorted_order_ : in_order());
  }
  void resume() override {
    prepare();
    EXPECT_TRUE(act()) << console.text();
    check(true);
  }

 private:
  static constexpr int kValues = 200;
  static std::vector<int> in_order() {
    std::vector<int> order(kValues);
    std::iota(order.begin(), order.end(), 0);
    return order;
  }
  /// The order that the result has by definition.
  void exchange_all_pairs() {
    sorted_ = unsorted_;
    sorted_order_ = in_order();
    for (std::size_t a = 0; a < kValues; ++a) {
      for (std::size_t b = 0; b < kValues; ++b) {
        if (a == b || !(sorted_[a] < sorted_[b])) continue;
        std::swap(sorted_[a], sorted_[b]);
        std::swap(sorted_order_[a], sorted_order_[b]);
      }
    }
  }

  std::vector<double> unsorted_;
  std::vector<double> sorted_;
  std::vector<double> values_;
  std::vector<int> order_;
  std::vector<int> sorted_order_;
};

template <typename KindOfWork>
void expect_no_harm(std::initializer_list<FaultKind> kinds) {
  for (const FaultKind kind : kinds) {
    if (kind == kFaultAllocation && !kAllocationsCanFail) continue;
    SCOPED_TRACE(kind_name(kind));
    KindOfWork work;
    walk(work, kind);
  }
}

TEST(ListingFaults, LeaveCatalogueFilesWholeOrAbsent) {
  expect_no_harm<DirectoryWork>({kFaultOpen, kFaultWrite, kFaultShortWrite, kFaultClose,
                                 kFaultReadFolder, kFaultRename, kFaultAllocation});
}

TEST(ListingFaults, GiveNoHalfOfAFolder) {
  expect_no_harm<FolderWork>({kFaultOpen, kFaultReadFolder, kFaultAllocation});
}

TEST(ListingFaults, LeaveValuesUnsortedOrSorted) { expect_no_harm<SortWork>({kFaultAllocation}); }

TEST(ListingFaults, FailToReadTheInfo) {
  expect_no_harm<InfoWork>({kFaultOpen, kFaultRead, kFaultAllocation});
}

TEST(ListingFaults, LeaveScriptsWholeOrAbsent) {
  expect_no_harm<ScriptWork>(
      {kFaultOpen, kFaultWrite, kFaultShortWrite, kFaultClose, kFaultRename, kFaultAllocation});
}

TEST(ListingFaults, LeaveSummariesWholeOrAbsent) {
  expect_no_harm<SummaryWork>(
      {kFaultRead, kFaultWrite, kFaultShortWrite, kFaultClose, kFaultRename, kFaultAllocation});
  expect_no_harm<PassedOverSummaryWork>({kFaultOpen});
}

}  // namespace
}  // namespace depth_io::test
