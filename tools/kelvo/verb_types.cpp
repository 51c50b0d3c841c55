// SPDX-License-Identifier: Apache-2.0
//
// kelvo types: the numbers that messages carry, by name.
#include <cstdlib>

#include "input.h"
#include "kelvo_common_msg.h"
#include "kelvo_util_nodeid.h"
#include "verbs.h"

namespace kelvo::tool {
namespace {

/// One number with its properties.
struct Type {
    std::string kind;
    std::int64_t number;
    std::string name;
    std::string text;  ///< for eyes
    Json properties;
};

std::string quoted(const std::string& text) {
    return "'" + text + "'";
}

void add_messages(std::vector<Type>& types) {
    const auto add = [&](std::uint32_t number, const char* name) {
        const std::string tag = kelvo_comm_msgtype_desc(number);
        const std::string description = kelvo_comm_msg_desc(number);
        types.push_back({"message",
                         number,
                         name,
                         (tag.empty() ? "no tag" : quoted(tag)) + ", " + quoted(description),
                         {{"tag", tag}, {"description", description}}});
    };
#define KELVO_ADD_MESSAGE(number, name, tag, description) add(number, #name);
    KELVO_MSG_TYPE_LIST(KELVO_ADD_MESSAGE)
#undef KELVO_ADD_MESSAGE
}

void add_values(std::vector<Type>& types) {
    const auto add = [&](std::uint32_t number, const char* name, std::uint32_t width,
                         const char* text) {
        types.push_back(
            {"value", number, name, text, {{"reversed_bytes", width}, {"description", text}}});
    };
    add(KELVO_VALUE_NONE, "NONE", 0, "no value; item create refuses it");
    add(KELVO_VALUE_INT4, "INT4", 4, "4-byte integer, in network order on the wire");
    add(KELVO_VALUE_INT8, "INT8", 8, "8-byte integer, in network order on the wire");
    add(KELVO_VALUE_RECORD, "RECORD", 0, "serialised record, travels as it is");
    add(KELVO_VALUE_INT2, "INT2", 2, "2-byte integer, in network order on the wire");
    add(KELVO_VALUE_INT2_ALT, "INT2_ALT", 2, "2-byte integer, in network order on the wire");
    add(KELVO_VALUE_INT4_ALT, "INT4_ALT", 4, "4-byte integer, in network order on the wire");
    add(KELVO_VALUE_INT8_ALT, "INT8_ALT", 8, "8-byte integer, in network order on the wire");
}

void add_nodes(std::vector<Type>& types) {
    const auto add = [&](std::int32_t value, const char* name, const char* meaning) {
        const std::string display = kelvo_comm_nodetype_desc(value);
        types.push_back({"node",
                         value,
                         name,
                         quoted(display) + ", " + meaning,
                         {{"display", display}, {"description", meaning}}});
    };
#define KELVO_ADD_NODE(name, value, display, meaning) add(value, #name, meaning);
    KELVO_NODE_TYPE_LIST(KELVO_ADD_NODE)
#undef KELVO_ADD_NODE
}

void add_servers(std::vector<Type>& types) {
    const auto add = [&](std::uint32_t value, const char* name) {
        if (value == KELVO_SERVER_MAX) return;  // how many there are
        const std::string display = kelvo_comm_servertype_desc(value);
        types.push_back({"server", value, name, quoted(display), {{"display", display}}});
    };
#define KELVO_ADD_SERVER(name, value, display) add(value, #name);
    KELVO_SERVER_TYPE_LIST(KELVO_ADD_SERVER)
#undef KELVO_ADD_SERVER
}

const std::vector<Type>& all_types() {
    static const std::vector<Type> kTypes = [] {
        std::vector<Type> types;
        add_messages(types);
        add_values(types);
        add_nodes(types);
        add_servers(types);
        return types;
    }();
    return kTypes;
}

const std::vector<Example> kExamples = {
    {"kelvo types ITEM_GET INT2_ALT",
     "message  3  ITEM_GET  'ITEM_GET    ', 'get'\n"
     "value  11  INT2_ALT  2-byte integer, in network order on the wire\n"},
    {"kelvo types --kind server",
     "server  0  LOCAL  'local'\n"
     "server  1  SHARED_SC  'shared_sc'\n"
     "server  2  SHARED_NC  'shared_nc'\n"
     "server  3  ADMIN  'admin'\n"
     "server  4  SHARED_DATA_NC  'shared_data_nc'\n"
     "server  5  CCV  'ccv'\n"
     "server  6  ALL  'all'\n"},
    {"kelvo types --json --kind message 54",
     R"({"kind":"message","number":54,"name":"VICR_STATUS","tag":"VICE STATUS ",)"
     R"("description":"VICR status"})"
     "\n"},
};

class Types final : public Verb {
  public:
    Types()
        : Verb({"types", "message, value, node and server types by number and name",
                "Shows the numbers that messages carry: message types with their tag and "
                "description, value types with what becomes of their bytes on the wire, reserved "
                "node values, and server types. All of them when nothing is asked for; else those "
                "of a number or name. A value type that is not listed travels as it is.",
                kExamples}) {
        input_.declare(*this, "TYPE", "numbers or names");
        add_choice("--kind", kind_, {"message", "value", "node", "server"}, "only one kind");
        std::vector<std::string> names;
        for (const Type& type : all_types()) names.push_back(type.name);
        complete_arguments(names);
    }

    Exit run(Output& out) override {
        if (!input_.is_given()) {
            show_all(out, [](const Type&) { return true; });
            return Exit::ok;
        }
        Exit exit_code = Exit::ok;
        input_.for_each(out, [&](const Record& record) {
            const std::string text(record.text);
            if (show_all(out, [&](const Type& type) { return is_named(type, text); })) return;
            exit_code = Exit::negative;
            refuse(out, record,
                   "'" + printable(text) + "' is no number or name of a type" +
                       (kind_.empty() ? "" : " of the kind " + kind_) + suggestion(text, names()));
        });
        return exit_code;
    }

  private:
    static bool is_named(const Type& type, const std::string& text) {
        if (text == type.name) return true;
        char* end;
        const long long number = std::strtoll(text.c_str(), &end, 0);
        return !text.empty() && *end == '\0' && number == type.number;
    }

    [[nodiscard]] bool is_of_kind(const Type& type) const {
        return kind_.empty() || kind_ == type.kind;
    }

    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> list;
        for (const Type& type : all_types()) {
            if (is_of_kind(type)) list.push_back(type.name);
        }
        return list;
    }

    /// @return whether there was one
    template <typename Wanted>
    bool show_all(Output& out, const Wanted& wanted) const {
        bool any = false;
        for (const Type& type : all_types()) {
            if (!is_of_kind(type) || !wanted(type)) continue;
            any = true;
            show(out, type);
        }
        return any;
    }

    static void show(Output& out, const Type& type) {
        if (!out.json()) {
            out.line(type.kind + "  " + std::to_string(type.number) + "  " +
                     out.paint(Style::name, type.name) + "  " + type.text);
            return;
        }
        Json object = {{"kind", type.kind}, {"number", type.number}, {"name", type.name}};
        object.update(type.properties);
        out.record(object);
    }

    Input input_;
    std::string kind_;
};

}  // namespace

std::unique_ptr<Verb> make_types() {
    return std::make_unique<Types>();
}

}  // namespace kelvo::tool
