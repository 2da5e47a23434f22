#pragma once

/// @file
/// What the library exports.

/// Marks what the shared library exports; everything else has hidden visibility.
#define CAMERA_DEPTH_RW_EXPORT __attribute__((visibility("default")))
