// SPDX-License-Identifier: MIT
// The portable runtime that the upper floors write archives, load libraries and
// convert text with. Every `int` result is a status: negative is a failure,
// whose words hulStrError() gives.
#ifndef LOOMKIT_PLATFORM_HUL_H
#define LOOMKIT_PLATFORM_HUL_H

#include <cstddef>
#include <cstdint>

/// A host's allocator of text. Called with (null, n) it gives a new block of n bytes;
/// with (block, 0) it releases the block; with (block, n) it gives a new block of n
/// bytes that holds the block's NUL-terminated text.
using HulAllocator = void* (*)(void* block, std::size_t size);

/// A text converter between two code sets.
struct HulTextCodec;

/// The words for a negative status. The pointer is good until the thread's next
/// call of a hul function.
const char* hulStrError(int status);

// --- Files ---------------------------------------------------------------

/// hulOpenFile's mode for a new or emptied file, open for writing.
constexpr int hulCreateForWriting = 0x32;
/// Origins of hulSeek.
constexpr int hulFromStart = 1;
constexpr int hulFromCurrent = 2;

/// Opens the file at a native path. Only hulCreateForWriting is served.
int hulOpenFile(const char* nativePath, int mode, int* handle);

/// Writes all `size` bytes; `*written`, unless null, tells how many went out,
/// also on failure.
int hulWrite(int handle, const void* data, int size, int* written);

/// Moves the file position and stores it, unless null, in `*position`.
/// `reserved` is 0.
int hulSeek(int handle, int origin, std::int64_t offset, int reserved, std::int64_t* position);

/// Closes the handle, which is gone afterwards in any case. A failure is a
/// late write error.
int hulClose(int handle);

// --- Dynamic libraries ---------------------------------------------------

/// What stands before and behind a library's name on this system.
const char* hulGetDSOPrefix();
const char* hulGetDSOSuffix();

/// Loads a library by file name; `flags` is 0. A name without a version also
/// finds the versioned file that run-time packages install (libx.so.0 to
/// libx.so.9), the lowest version first.
int hulOpenDSO(const char* name, int flags, void** handle);
/// Releases a library; the addresses that it gave are no longer good.
int hulCloseDSO(void* handle);

/// The address of an exported name.
int hulGetSymbolAddress(void* handle, const char* name, void** address);

// --- Text ----------------------------------------------------------------

/// Converts text of the local code set to UTF-8. A `length` of -1 means up to the NUL.
/// The result in `*out` ends with a NUL; its length goes to `*outLength` unless that is
/// null. It comes from `allocator`, or, when that is null, the caller releases it with
/// hulFree(). Text that is not valid in its code set is a failure.
int hulLocaleToUTF8(const char* text, int length, int flags, int* outLength, HulAllocator allocator,
                    char** out);
/// The same from UTF-8 to the local code set.
int hulUTF8ToLocale(const char* text, int length, int flags, int* outLength, HulAllocator allocator,
                    char** out);

/// A copy of a text, for hulFree(); null for null.
char* hulStrDup(const char* text);
/// Releases what the functions here gave; null is nothing.
void hulFree(void* block);

/// hulGetLocaleParam's number of the local code set's name.
constexpr int hulLocalCodeSet = 6;

/// Stores a parameter of the locale, NUL-terminated, in `size` bytes. Only
/// hulLocalCodeSet is served. A locale that knows ASCII only counts as UTF-8,
/// so that UTF-8 text passes through unchanged.
int hulGetLocaleParam(int parameter, int reserved, char* buffer, int size);

/// Makes a converter between two named code sets for hulConvertText().
int hulOpenTextCodec(const char* from, const char* to, HulTextCodec** codec);
/// Ends a converter.
void hulCloseTextCodec(HulTextCodec* codec);

/// Converts and moves all four arguments on. 0: all input was converted; 1: the
/// output room was not enough; negative: invalid input.
int hulConvertText(HulTextCodec* codec, const char** input, std::size_t* inputLength, char** output,
                   std::size_t* outputRoom);

#endif  // LOOMKIT_PLATFORM_HUL_H
