// SPDX-License-Identifier: Apache-2.0
//
// The tour: scene after scene, each about one part of the library. A scene says what it does,
// checks what comes back, and leaves the store as the next scene expects it.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host_facts.h"
#include "requests.h"
#include "resolve.h"
#include "session.h"
#include "transcript.h"

namespace example {

class Tour final : public Observer {
  public:
    explicit Tour(bool dump_everything) : dump_everything_(dump_everything) {}

    /// Runs every scene. @return the process's exit code
    int run();

  private:
    // scenes, in their order
    void paths();
    void binds();
    void facts();
    void changes();
    void lists();
    void names();
    void finds();
    void transactions();
    void locks();
    void bulks();
    void copies();
    void notifications();
    void verifications();
    void refusals();
    void goodbye();

    // Each kind of message is dumped the first time that it goes by.
    void sent(std::span<const std::uint8_t> message) override;
    void received(std::span<const std::uint8_t> message, std::uint32_t request_type) override;
    void dump(const std::string& key, const std::string& caption,
              const std::vector<std::string>& lines);

    void show_owner(const std::string& path, std::uint32_t options);
    /// The bound session for a path's owner.
    Session& session_for(const std::string& path);
    Session& session_on(const Channel& channel);

    /// A second client of a channel, bound.
    std::unique_ptr<Session> another_on(const Channel& channel);
    /// Prints a listing's entries and checks their names.
    void show_entries(const std::string& what, const Listing& listing,
                      const std::vector<std::string>& wanted);
    void refuse_truncations(Session& session);
    void refuse_hostile_frames(const Channel& channel);

    Transcript out_;
    bool dump_everything_;
    std::set<std::string> dumped_;
    std::map<const Channel*, std::unique_ptr<Session>> sessions_;
    std::vector<Fact> facts_;
};

}  // namespace example
