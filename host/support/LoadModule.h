// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orvel {

// A part of the program that is loaded only when it is wanted, since the libraries that it needs cost time
// and memory, or may not be there.
struct ModuleName {
    const char* library;  // file name
    const char* symbol;   // the function that it exports; changes with its interface
    const char* needed;   // "this command needs the codec module"
    const char* builtIf;  // "it is built where ... are at hand"
};

// Loads a module, which is looked for beside the program and then in the folder orvel-flv of an
// installation's library folder, and returns its symbol's address. Throws Failure (kInputOutput), saying what
// is missing, when there is none, it cannot be loaded or is of another version.
void* LoadModule(const ModuleName& name);

}  // namespace orvel
