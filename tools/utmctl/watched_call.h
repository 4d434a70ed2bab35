#pragma once

#include "tools/utmctl/config_daemons.h"
#include "tools/utmctl/deed.h"

#include "kqutm.hpp"

#include <functional>
#include <optional>

// A call of the library that changes the registry, with what registry and diagnostic log tell of it.
struct watched_call {
    kqutm::result<json> result;
    std::vector<std::string> log; // the lines that it gained
    bool log_works;               // else a log without lines proves nothing
    std::string printed;          // on standard output or standard error
    utm_id_registry before;
    utm_id_registry after;

    int error() const { return result ? 0 : result.error().error; }
};

watched_call call_watched(const deed_words& words, const std::vector<service>& daemons, double timeout,
                          const std::function<kqutm::result<json>()>& operation);

// Whether the operation failed on the registry, before any daemon was told.
bool failed_on_registry(const watched_call& call);

// Why the registry did not let something be created, if it did not.
std::optional<problem> creation_refusal(const watched_call& call, const std::string& what);
