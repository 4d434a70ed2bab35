#include "tools/utmctl/arguments.h"
#include "tools/utmctl/families.h"

namespace {

outcome show_version(const request&)
{
    return {.result = {{"version", KQUTM_VERSION}}, .lines = {std::string("utmctl ") + KQUTM_VERSION}};
}

constexpr command commands[] = {
    {"", {}, show_version, "print the version"},
};

} // namespace

constinit const family version_family = {"version", "the version", commands};
