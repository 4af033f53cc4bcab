// SPDX-License-Identifier: MIT
// posix_calls.h, which every source of a test includes, has what tests take from here.
