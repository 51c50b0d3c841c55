// SPDX-License-Identifier: Apache-2.0
#include "decode_view.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <optional>

#include "kelvo_common_msg_types.h"
#include "kelvo_types.h"
#include "message_json.h"
#include "text.h"

namespace kelvo::tool {
namespace {

using codec::Bytes;
using codec::Decoded;
using codec::Description;
using codec::FailedCheck;
using codec::Format;
using codec::Node;

constexpr std::size_t kRowBytes = 8;
/// Texts and values longer than this are cut in lists.
constexpr std::size_t kMostShown = 60;

std::string as_number(const Description& description, std::uint32_t word, Format format) {
    switch (format) {
        case Format::decimal:
            break;
        case Format::hex:
            return hex(word);
        case Format::value_type: {
            const std::string name = description.value_type_name(word);
            return std::to_string(word) + (name.empty() ? "" : " " + name);
        }
        case Format::status:
            return hex(word, 8) + " " + description.status_name(word);
        case Format::message_type:
            return std::to_string(word) + " " + kelvo_comm_msg_desc(word);
        case Format::node_id:
            return word == KELVO_NODEID_INVALID ? hex(word) + " (no node)" : hex(word);
    }
    return std::to_string(word);
}

std::string quoted(std::string text) {
    if (text.size() > kMostShown) text.replace(kMostShown, std::string::npos, "...");
    return "\"" + printable(text) + "\"";
}

bool all_zero(Bytes bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; });
}

std::string as_bytes(Bytes bytes) {
    if (!bytes.empty() && all_zero(bytes)) return counted(bytes.size(), "zero byte");
    const std::size_t shown = std::min(bytes.size(), kMostShown / 2);
    std::string text = codec::to_hex(bytes.first(shown));
    if (shown < bytes.size()) text += "... (" + counted(bytes.size(), "byte") + ")";
    return text;
}

class View {
  public:
    View(Output& out, const Description& description, const Decoded& decoded)
        : out_(out), description_(description), decoded_(decoded), bytes_(decoded.bytes) {}

    void head() {
        const char* const order = decoded_.order == codec::kNetwork ? "network" : "little-endian";
        const std::string name = out_.paint(Style::name, decoded_.message->name);
        const std::string verdict = out_.paint(decoded_.failed ? Style::bad : Style::good,
                                               description_.status_name(decoded_.status()));
        out_.line(name + ", " + counted(bytes_.size(), "byte") + ", " + order +
                  " order: " + verdict);
    }

    void fields(const std::vector<Node>& nodes, std::size_t indent) {
        std::size_t width = 0;
        for (const Node& node : nodes) width = std::max(width, node.name.size());
        for (const Node& node : nodes) field(node, indent, width);
    }

    void failure() {
        if (!decoded_.failed) return;
        const FailedCheck& failed = *decoded_.failed;
        out_.line("  " + out_.paint(Style::bad, "refused") + " at " + std::to_string(failed.at) +
                  (failed.field.empty() ? "" : ", " + failed.field) + ": " + wrong(failed));
    }
    void rest(const char* indent) {
        const std::uint64_t bytes = bytes_.size() - decoded_.covered;
        if (bytes == 0) return;
        out_.line(indent + out_.paint(Style::faint, "rest") + "  " +
                  as_bytes(bytes_.subspan(decoded_.covered)));
    }

    void annotated(const std::vector<Node>& nodes, const std::string& path) {
        for (const Node& node : nodes) {
            const std::string name = node.what == Node::What::entry ? path + "[" + node.name + "]"
                                     : path.empty()                 ? node.name
                                                                    : path + "." + node.name;
            annotate(node, name);
        }
    }
    void annotated_rest() {
        const Bytes rest = bytes_.subspan(decoded_.covered);
        if (!rest.empty()) {
            rows(decoded_.covered, rest.size(), decoded_.failed ? "not reached" : "not described",
                 counted(rest.size(), "byte"));
        }
        if (decoded_.failed && !pointed_) point(*decoded_.failed);
    }

  private:
    static std::string wrong(const FailedCheck& failed) {
        return "expected " + failed.text + "; found " + failed.found;
    }

    /// What a piece without children holds, in words.
    std::string shown(const Node& node) const {
        switch (node.what) {
            case Node::What::words:
            case Node::What::mask:
            case Node::What::cell: {
                std::string text;
                for (const std::uint32_t word : node.words) {
                    text += (text.empty() ? "" : " ") + as_number(description_, word, node.format);
                }
                return text;
            }
            case Node::What::bytes:
                return as_bytes(bytes_.subspan(node.at, node.size));
            default:
                return content(node);
        }
    }

    std::string content(const Node& node) const {
        const Bytes all = bytes_.subspan(node.content_at, node.content);
        std::string text;
        const std::uint32_t width = description_.integer_width(node.type);
        if (all.empty() && node.what == Node::What::counted && node.words[0] != 0) {
            text = "missing";
        } else if (node.is_text) {
            text = written(all);
        } else if (width != 0 && all.size() == width) {
            text = std::to_string(load(all, node.order));
        } else if (all.empty()) {
            text = "empty";
        } else {
            text = codec::is_readable(all) ? quoted({all.begin(), all.end()}) : as_bytes(all);
        }
        if (node.what == Node::What::counted && node.words[0] != node.content) {
            text += " (" + std::to_string(node.words[0]) + " bytes claimed)";
        }
        return text;
    }

    static std::string written(Bytes all) {
        if (codec::is_plain_text(all)) return quoted({all.begin(), all.end() - 1});
        if (codec::is_readable(all)) return quoted({all.begin(), all.end()}) + " without NUL";
        return as_bytes(all);
    }

    void field(const Node& node, std::size_t indent, std::size_t width) {
        const std::string margin(indent, ' ');
        std::string name = node.name;
        switch (node.what) {
            case Node::What::group:
                out_.line(margin + name);
                fields(node.children, indent + 2);
                return;
            case Node::What::list:
                for (const Node& entry : node.children) {
                    const std::string order =
                        entry.told_order && entry.order != decoded_.order
                            ? std::string("  ") + name_of(entry.order) + "-endian"
                            : "";
                    std::string head = margin + name;
                    head += "[" + entry.name + "]";
                    out_.line(head += order);
                    fields(entry.children, indent + 2);
                }
                if (node.beyond != 0) out_.line(margin + beyond(node));
                return;
            case Node::What::bytes:
                if (all_zero(bytes_.subspan(node.at, node.size))) return;
                break;
            default:
                break;
        }
        name.resize(std::max(width, name.size()), ' ');
        out_.line(margin + name + "  " + shown(node));
    }

    static std::string beyond(const Node& node) {
        return node.name + ": " + std::to_string(node.beyond) +
               " more claimed beyond the end, where no check looks";
    }

    void annotate(const Node& node, const std::string& name) {
        switch (node.what) {
            case Node::What::group:
            case Node::What::entry:
                annotated(node.children, name);
                return;
            case Node::What::list:
                annotated(node.children, name);
                if (node.beyond != 0)
                    out_.line(out_.paint(Style::faint, "          " + beyond(node)));
                return;
            case Node::What::counted:
                rows(node.at, codec::kCellBytes, name + ".length", std::to_string(node.words[0]));
                if (node.size > codec::kCellBytes) {
                    rows(node.content_at, node.at + node.size - node.content_at, name,
                         content(node));
                }
                return;
            case Node::What::words:
            case Node::What::mask:
                for (std::size_t i = 0; i < node.words.size(); ++i) {
                    const std::string index =
                        node.words.size() == 1 ? "" : "[" + std::to_string(i) + "]";
                    rows(node.at + 4 * i, 4, name + index,
                         as_number(description_, node.words[i], node.format));
                }
                return;
            default:
                rows(node.at, node.size, name, shown(node));
        }
    }

    /// Rows of up to 8 bytes. Of rows that repeat the one before them, a star stands for the rest.
    void rows(std::uint64_t at, std::uint64_t size, const std::string& name,
              const std::string& value) {
        std::optional<std::string> last;
        bool starred = false;
        for (std::uint64_t i = 0; i < size; i += kRowBytes) {
            const Bytes row = bytes_.subspan(at + i, std::min<std::uint64_t>(kRowBytes, size - i));
            const std::string dumped = dump(row);
            const bool is_last = i + kRowBytes >= size;
            if (dumped == last && !is_last) {
                if (!starred) out_.line(out_.paint(Style::faint, "       *"));
                starred = true;
                continue;
            }
            last = dumped;
            starred = false;
            char offset[24];
            std::snprintf(offset, sizeof offset, "%8" PRIu64 "  ", at + i);
            std::string line = out_.paint(Style::faint, offset) + dumped;
            if (i == 0) {
                std::string field = name;
                field.resize(std::max<std::size_t>(field.size(), 24), ' ');
                line += "  " + out_.paint(Style::name, field) + "  " + value;
            }
            while (!line.empty() && line.back() == ' ') line.pop_back();
            out_.line(line);
        }
        if (decoded_.failed && !pointed_ && decoded_.failed->at >= at &&
            decoded_.failed->at < at + size) {
            point(*decoded_.failed);
        }
    }

    static std::string dump(Bytes row) {
        std::string digits;
        std::string text;
        for (std::size_t i = 0; i < kRowBytes; ++i) {
            if (i < row.size()) {
                digits += codec::to_hex(row.subspan(i, 1)) + " ";
                text += row[i] >= 0x20 && row[i] < 0x7f ? static_cast<char>(row[i]) : '.';
            } else {
                digits += "   ";
                text += ' ';
            }
        }
        return digits + " " + text;
    }

    void point(const FailedCheck& failed) {
        pointed_ = true;
        char offset[24];
        std::snprintf(offset, sizeof offset, "%8llu  ", static_cast<unsigned long long>(failed.at));
        out_.line(out_.paint(Style::bad, offset + ("^ " + wrong(failed)) + ": " +
                                             description_.status_name(failed.status)));
    }

    Output& out_;
    const Description& description_;
    const Decoded& decoded_;
    const Bytes bytes_;
    bool pointed_ = false;
};

}  // namespace

void show_fields(Output& out, const Description& description, const Decoded& decoded) {
    View view(out, description, decoded);
    view.head();
    view.fields(decoded.nodes, 2);
    view.rest("  ");
    view.failure();
}

void show_annotated(Output& out, const Description& description, const Decoded& decoded) {
    View view(out, description, decoded);
    view.head();
    view.annotated(decoded.nodes, "");
    view.annotated_rest();
}

}  // namespace kelvo::tool
