// SPDX-License-Identifier: Apache-2.0
//
// Scenes: lists of names and items, and searches.
#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "kelvo_string.h"
#include "status.h"
#include "tour.h"

namespace example {
namespace {

std::vector<std::string> names_of(const Listing& listing) {
    std::vector<std::string> names;
    for (const Entry& entry : listing.entries) names.push_back(entry.name);
    return names;
}

using Transformation = decltype(&kelvo_string_encode);

// The library hands out a new text, which is its caller's to free.
std::string transformed(Transformation transform, const std::string& from) {
    char* made = nullptr;
    std::uint32_t length = 0;
    if (const kelvo_status status = transform(from.c_str(), &made, &length))
        throw std::runtime_error(from + ": " + status_name(status));
    std::string to(made, length);
    std::free(made);
    return to;
}

}  // namespace

void Tour::show_entries(const std::string& what, const Listing& listing,
                        const std::vector<std::string>& wanted) {
    out_.status(what, listing.status);
    for (const Entry& entry : listing.entries) {
        std::string line = "  " + entry.name;
        if (!entry.value.bytes.empty()) line += " = " + shown(entry.value);
        if (entry.status != 0) line += ": " + status_name(entry.status);
        out_.line(line);
    }
    const std::vector<std::string> names = names_of(listing);
    out_.check("  entries", std::to_string(names.size()) + (listing.more ? ", more follow" : ""),
               names == wanted);
}

void Tour::lists() {
    out_.scene("Lists, in the store's own order");
    out_.note(
        "A shorter name comes before a longer one, so numbered names need no padding. The \"/\"");
    out_.note("behind a name that has more below it counts as a part of the name.");
    Session& session = session_for("cfg/gl/example/");
    for (const char* name : {"10", "9", "alpha", "2", "2/size", "2/name"})
        out_.status("create cfg/gl/example/" + std::string(name),
                    create(session, "cfg/gl/example/" + std::string(name), text(name)));
    show_entries("list cfg/gl/example/", list(session, "cfg/gl/example/", "", 0),
                 {"2", "9", "10", "2/", "alpha"});

    out_.note("Two at a time, going on after the last name:");
    Listing page = list(session, "cfg/gl/example/", "", 2);
    show_entries("first page", page, {"2", "9"});
    page = list(session, "cfg/gl/example/", page.entries.back().name, 2);
    show_entries("second page", page, {"10", "2/"});
    page = list(session, "cfg/gl/example/", page.entries.back().name, 2);
    show_entries("last page", page, {"alpha"});

    show_entries("data-list cfg/gl/example/", datalist(session, "cfg/gl/example/", "", 0),
                 {"2", "9", "10", "2/name", "2/size", "alpha"});
    show_entries("get-items below cfg/gl/example/",
                 get_items(session, "cfg/gl/example/", {"9", "2/size", "absent"}),
                 {"9", "2/size", "absent"});
}

// One component cannot hold every character: "/" would end it, and others are pattern syntax.
void Tour::names() {
    out_.scene("Names with reserved characters");
    const std::string name = "uplink (rack 1/slot *)";
    const std::string component = transformed(kelvo_string_encode, name);
    const std::string path = "cfg/gl/labels/" + component;
    Session& session = session_for(path);
    out_.line('"' + name + "\" is encoded as \"" + component + '"');
    out_.status("create " + path, create(session, path, text("label")));
    const Listing labels = list(session, "cfg/gl/labels/", "", 0);
    show_entries("list cfg/gl/labels/", labels, {component});
    for (const Entry& entry : labels.entries) {
        const std::string decoded = transformed(kelvo_string_decode, entry.name);
        out_.check("  decoded", decoded, decoded == name);
    }
}

void Tour::finds() {
    out_.scene("Find by pattern, and a configuration group");
    const std::string pattern = "oper/net/if/.*/mtu";
    std::vector<std::string> wanted;
    for (const Fact& fact : facts_)
        if (fact.path.starts_with("oper/net/if/") && fact.path.ends_with("/mtu"))
            wanted.push_back(fact.path);
    Listing found = find(session_for("oper/net/if/lo/mtu"), pattern, "", 0);
    std::ranges::sort(found.entries, {}, &Entry::name);  // the interfaces come in any order
    std::ranges::sort(wanted);
    show_entries("find " + pattern, found, wanted);
    out_.status("find with a pattern that is none",
                find(session_for("cfg/gl/x"), "cfg/gl/(/x", "", 0).status, KELVO_ERR_BAD_REGEXP);

    Session& session = session_for("cfg/gl/a/config-group/blue/mtu");
    out_.status("create cfg/gl/a/config-group/blue/mtu",
                create(session, "cfg/gl/a/config-group/blue/mtu", int4(9000)));
    std::uint32_t items = 0;
    out_.status("group find \"blue\"", find_group(session, "blue", items));
    out_.check("  items in the group", std::to_string(items), items == 1);
}

}  // namespace example
