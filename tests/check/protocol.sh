#!/usr/bin/env bash
# docs/protocol.md tells daemons of every record, code and socket, as the headers declare them. Usage: protocol.sh, from the
# root of the sources.
set -euo pipefail

page=docs/protocol.md
records=tests/check/abi/records # abi.sh holds them against the headers

# The cells of the page's tables that tell of records, below a line for each record.
told() {
    awk -F' *\\| *' '
        /^### utm_.*: [0-9]+ bytes$/ { print substr($0, 5); inside = 1; next }
        /^#/ { inside = 0 }
        inside && $2 ~ /^[0-9]+$/ && $3 !~ /`/ { gsub(/`/, ""); print $2, $3, $4 }' "$page"
}

# The same of one record that the compiler laid out. Fields of records inside it carry the name of the inner one, but for
# the body, of which all are members.
laid_out() {
    awk -F' \\| ' -v record="struct $1" '
        $2 == record { inside = 1; next }
        inside && /sizeof=/ { sub(/.*sizeof=/, ""); sub(/,.*/, ""); exit }
        !inside { next }
        {
            depth = match($2, /[^ ]/)
            while (depth <= within[levels]) levels--
            name = $2
            sub(/.* /, "", name)
            type = substr($2, depth, length($2) - depth - length(name))
            outer = levels ? prefix[levels] : ""
            if (type ~ /^(struct|union) [^*]*$/) {
                within[++levels] = depth
                prefix[levels] = name == "body" ? outer : outer name "."
            } else print $1 + 0, (type ~ /\*$/ ? "pointer" : type), outer name
        }' "$records"
}

records_of_the_wire() { told | sed -n 's/^\(utm_[a-z_]*\): .*/\1/p'; }

size_of() {
    awk -v record="struct $1" -F'sizeof=' '$0 ~ record "$" { inside = 1 } inside && NF > 1 { print $2 + 0; exit }' "$records"
}

expected() {
    local record
    for record in $(records_of_the_wire); do
        echo "$record: $(size_of "$record") bytes"
        laid_out "$record"
    done
}

# Numbers and names, as the two headers of daemons have them.
declared_codes() {
    sed -nE 's/^    (UTM_[A-Z_0-9]+) = (-?[0-9]+).*/\2 \1/p' include/kqutm/daemon.h include/kqutm/engines.h | LC_ALL=C sort
}

told_codes() { tr -d '`' <"$page" | sed -nE 's/^\| (-?[0-9]+) \| (UTM_[A-Z_0-9]+) \|.*/\1 \2/p' | LC_ALL=C sort; }

# A device's record is a part of a message.
declared_records() {
    sed -nE 's/^struct (utm_[a-z_]*(event|message|request|reply|record|registry|response)) \{.*/\1/p' include/kqutm/*.h |
        grep -vx utm_device_record
}

declared_sockets() { sed -nE 's/^#define UTM_[A-Z_]+_SOCKET "(.*)"$/\1/p' include/kqutm/*.h | sort; }
told_sockets() { tr -d '`' <"$page" | sed -nE 's/^\| (\/[^ ]*) \|.*/\1/p' | sort; }

diff <(told) <(expected)
diff <(records_of_the_wire | sort) <(declared_records | sort)
diff <(told_codes) <(declared_codes)
diff <(told_sockets) <(declared_sockets)
echo "$page tells of $(records_of_the_wire | wc -l) records and $(told_codes | wc -l) codes, as the headers have them."
