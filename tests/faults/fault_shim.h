#pragma once

/// Calls of the C library that fail on request. The shared object `fault_shim` stands between a
/// program and the C library: linked before it, for tests that call the library under test, or
/// preloaded into a program, which then takes its fault from the environment variable FAULT_SHIM.
/// Nothing fails until a fault is armed.

enum FaultKind {
  kFaultOpen,        ///< open, creat, fopen, opendir, fdopendir, fdopen
  kFaultWrite,       ///< write, writev, pwrite
  kFaultShortWrite,  ///< the same, but half of the bytes are written and nothing fails
  kFaultRead,        ///< read, pread, and the filling of a stream's buffer
  kFaultClose,       ///< close, fclose: closed all the same, as Linux does
  kFaultMakeFolder,  ///< mkdir
  kFaultReadFolder,  ///< readdir
  kFaultRename,      ///< rename
  kFaultAllocation,  ///< malloc and its relatives; not where a sanitizer replaces them
  kFaultKinds
};

/// Which calls fail, and how.
struct Fault {
  FaultKind kind;
  long nth;      ///< the first call of its kind that fails, from 1
  int error;     ///< what errno is then; allocations always tell ENOMEM
  bool lasting;  ///< every later call of its kind fails, too
};

extern "C" {

/// From now on calls of the fault's kind are counted, whichever thread makes them.
void fault_shim_arm(const Fault* fault);
/// Ends that and returns how many calls failed.
long fault_shim_disarm();
/// How many calls of the armed kind there were since `fault_shim_arm`.
long fault_shim_calls();

}  // extern "C"

// FAULT_SHIM is "KIND NTH ERROR LASTING REPORT DIRECTORY", the first four as numbers. Only calls on
// files below DIRECTORY are counted, and allocations from the first such call on. REPORT is made as
// an empty file when the first call fails.
