#pragma once

#include "codec/export.h"
#include "codec/typed_buffers.h"

// Lists of what was recorded. They are made between recording and playback: a recording of numbered
// sub-directories is played back through them.

/// Lists the sub-directories of the recording `dirname` and writes, for each that holds frames,
/// `list.txt` inside it (sequence number and entry, by time) and "info" + its name + ".txt" beside
/// it (first and last entry), and `info.txt` with their number. Returns that number; 0 when
/// `dirname` cannot be opened. Prints what it does. An entry is the name of a frame's ".rle" file
/// without its last ten characters, its stamp text; a character in it that is no digit where one
/// belongs prints an error and waits for a key. Links are not followed.
CAMERA_DEPTH_RW_EXPORT int ListEntriesInDir(const char* dirname);

/// Lists one directory: entries in directory order to `TimeStamps`, their Unix times to `UnixTimes`
/// (sorted), the order to `SortedIndex`, the entries by time to `SortedStamps`; all created by the
/// caller, and nothing is listed beyond the smallest of them. Writes no file. Returns the number of
/// frames listed; 0 when `dirname` cannot be opened.
CAMERA_DEPTH_RW_EXPORT int ListEntriesInSubDir(const char* dirname,
                                               depth_io_ClassBufferChar1D& SortedStamps,
                                               depth_io_ClassBufferChar1D& TimeStamps,
                                               depth_io_ClassBufferDOUBLE& UnixTimes,
                                               depth_io_ClassBufferINT& SortedIndex);

/// Number of sub-directories that `info.txt` in `dirname` tells; 0 after a message and a wait for a
/// key when there is none.
CAMERA_DEPTH_RW_EXPORT int ReadInfoNbSubDir(char* dirname);

///@{
/// Sorts the `n` doubles of `pt` (increasing, or decreasing without `INCREASE`); `index[k]` tells
/// where the k-th came from. Equal values come out in the order that the exchange of all pairs
/// gives them, which is not their order before. `n` above `Length` prints an error, waits for a key
/// and gives false, with `index` set to 0 .. n-1; so does, without a wait, memory that is short:
/// some 150 bytes a value.
CAMERA_DEPTH_RW_EXPORT bool BubbleSort(int Length, double* pt, int* index, int n, bool INCREASE);
CAMERA_DEPTH_RW_EXPORT bool BubbleSort(int Length, double* pt, int* index, int n);
///@}

/// Body of a command-line tool with one argument, a recording directory: lists it and prints the
/// number of entries. Returns 0; any other number of arguments ends the process with status 1.
CAMERA_DEPTH_RW_EXPORT int countEntriesInDir_main(int argc, char** argv);

// Shell scripts that the user runs by hand, and summaries of what they found: another way to survey
// numbered sub-directories. The directory is written into the scripts as it is given: one with
// blanks or quotes wants quoting by the caller.

/// Writes `batch_create_empty_sub_dir.sh` to the current directory: makes `directory` and
/// `MaxNbSubDirectories` numbered sub-directories.
CAMERA_DEPTH_RW_EXPORT void CreateSubDirBatch(char* directory, int MaxNbSubDirectories);

/// Writes `batch_read_sub_dir.sh` to the current directory: has each sub-directory list its ".rle"
/// files into `ls.txt`.
CAMERA_DEPTH_RW_EXPORT void ReadSubDirBatch_part1(char* directory, int MaxNbSubDirectories);

/// Writes for each `ls.txt` with a name in it the summary "fresume" + eight digits + ".txt": first
/// and last name. One that cannot be written prints an error, waits for a key and ends the survey.
CAMERA_DEPTH_RW_EXPORT void ReadSubDirBatch_part2(char* directory, int MaxNbSubDirectories);

/// Number of summaries up to the first missing one, at most `MaxNbSubDirectories`.
CAMERA_DEPTH_RW_EXPORT int ReadNbSubDir(char* directory, int MaxNbSubDirectories);
