// SPDX-License-Identifier: Apache-2.0
//
// Byte-order policies that watch a walk instead of running it. They convert nothing: each notes
// what the policy that it stands for would touch, and answers a read with the word as it would be
// by then. The first thing that may not happen ends the walk.
//
// That needs no memory of the words that have been converted. A walk reads a word either before it
// converts it, by raw() or in the sending direction, or after; and it never reads a word that has
// been converted twice, for every part of a message begins behind the one before. Only a VRFN
// registration comes back to a length, and its walk works out the other order by itself.
#pragma once

#include "kelvo_common_msg_walk_bulk.h"
#include "kelvo_wire.h"

namespace kelvo::wire {

/// The bytes that a walk may touch, and what has become of it.
class Block {
  public:
    Block(const void* bytes, u64 length) noexcept
        : bytes_(static_cast<const u8*>(bytes)), length_(length) {}

    /// Notes that `width` bytes at `at` are touched. @return whether they lie inside
    bool touch(const u8* at, u64 width) noexcept {
        const u64 offset = reinterpret_cast<std::uintptr_t>(at) - address();
        const bool inside = width <= length_ && offset <= length_ - width;
        if (!inside) refuse(KELVO_ERR_MSG_LENGTH);
        return inside;
    }
    /// Ends the walk. The first reason stands.
    void refuse(Status reason) noexcept {
        if (verdict_ == 0) verdict_ = reason;
    }
    [[nodiscard]] u32 load(const u8* at) noexcept { return touch(at, 4) ? load32(at) : 0; }
    [[nodiscard]] Status verdict() const noexcept { return verdict_; }
    /// The walks take what they convert, so they take it to write; nothing is written here.
    [[nodiscard]] u8* bytes() const noexcept { return const_cast<u8*>(bytes_); }
    [[nodiscard]] u64 length() const noexcept { return length_; }

  private:
    [[nodiscard]] std::uintptr_t address() const noexcept {
        return reinterpret_cast<std::uintptr_t>(bytes_);
    }

    const u8* bytes_;
    u64 length_;
    Status verdict_ = 0;
};

/// What the watching policies have in common.
class Watching {
  public:
    static constexpr bool kConverts = true;
    explicit Watching(Block& block) noexcept : block_(&block) {}

    [[nodiscard]] u32 raw(const u8* at) const noexcept { return block_->load(at); }
    void demand(bool condition) const noexcept {
        if (!condition) block_->refuse(KELVO_ERR_MSG_CONTENT);
    }
    [[nodiscard]] bool stopped() const noexcept { return block_->verdict() != 0; }

    void array(const u8* first, u64 count) const noexcept { block_->touch(first, 4 * count); }

  protected:
    void word(const u8* at) const noexcept { block_->touch(at, 4); }
    void typed(u32 type, const u8* at) const noexcept {
        if (const u32 width = value_width(type)) block_->touch(at, width);
    }

  private:
    Block* block_;
};

/// Stands for FromNetwork.
class GuardFromNetwork : public Watching {
  public:
    using Watching::Watching;
    void arrive(const u8* at) const noexcept { word(at); }
    static void depart(const u8*) noexcept {}
    void fixed(const u8* at) const noexcept { word(at); }
    void value(u32 type, const u8* at) const noexcept { typed(type, at); }
    [[nodiscard]] u32 read(const u8* at) const noexcept { return network32(raw(at)); }
};

/// Stands for ToNetwork.
class GuardToNetwork : public Watching {
  public:
    using Watching::Watching;
    static void arrive(const u8*) noexcept {}
    void depart(const u8* at) const noexcept { word(at); }
    void fixed(const u8* at) const noexcept { word(at); }
    void value(u32 type, const u8* at) const noexcept { typed(type, at); }
    [[nodiscard]] u32 read(const u8* at) const noexcept { return raw(at); }
};

/// Stands for ItemOrder.
class GuardItemOrder : public Watching {
  public:
    using Watching::Watching;
    void tell_from(u32 raw_name_length) noexcept { order_.tell_from(raw_name_length); }
    [[nodiscard]] bool foreign() const noexcept { return order_.foreign(); }
    void arrive(const u8* at) const noexcept {
        if (foreign()) word(at);
    }
    static void depart(const u8*) noexcept {}
    void fixed(const u8* at) const noexcept { arrive(at); }
    /// Of a foreign item, as there.
    void value(u32 type, const u8* at) const noexcept { typed(type, at); }
    [[nodiscard]] u32 read(const u8* at) const noexcept {
        return foreign() ? reversed32(raw(at)) : raw(at);
    }

  private:
    ItemOrder order_;
};

}  // namespace kelvo::wire
