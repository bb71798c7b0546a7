// SPDX-License-Identifier: Apache-2.0
#pragma once

// Marks what the library offers to others. The library is built with hidden visibility, so a name
// without this mark stays inside; the version script of the library lists the same names once more.
#define ORVEL_API __attribute__((visibility("default")))
