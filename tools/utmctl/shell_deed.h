#pragma once

#include "tools/utmctl/deed.h"

// What came of a deed that the library carries out by shell commands, without looking at what becomes of them: when
// the shell complained, it was done in part.
outcome done_by_shell(const deed_words& words, json result, const std::string& printed);
