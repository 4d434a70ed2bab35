#pragma once

#include "sim/strict_json.h"

#include <string>
#include <vector>

// What a household asks of utmctl, one command after another, and what each command changes in the daemons.

// An operation of a JSON Patch on what the daemons hold, by their names.
struct change {
    std::string operation;
    std::string path;
    std::string value = "null"; // JSON
};

struct step {
    std::string line;
    std::vector<change> changes;
};

extern const char household_scenario[]; // how the daemons start
extern const char household_start[];    // what they hold then

void write_household_files(); // that the commands read

extern const std::vector<step> setting_up;  // two profiles, with all that their rules need
extern const std::vector<step> taking_back; // all of it, piece by piece
extern const step reset_all;                // all of it at once
