// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/scenario/scenario.hpp"
#include "positions.hpp"
#include "random_order.hpp"

#include <filesystem>

namespace kv::virtual_agent {

/// Reads one scenario with the files that it includes, replaces its variables and shuffles its random orders.
class ScenarioReader {
public:
    explicit ScenarioReader(const ScenarioInput &input) : input_(input), numbers_(input.seed) {}

    /// As Scenario::parse(), from_json() and load(). To be called once.
    Scenario parse(const std::string &text);
    Scenario from_json(const cJSON *document);
    Scenario load(const std::string &path);

    /// The files that the scenario includes, also after a mistake and if they cannot be read.
    const std::vector<std::string> &included_files() const { return included_; }

private:
    using Steps = std::vector<Scenario::Step>;

    /// A file, or a text without one, while it is read.
    struct Source {
        std::filesystem::path path{};
        std::string included_by{}; // as Scenario::Step::included_by
        Json document{};
        Positions positions{};

        std::string place(const Position &position) const;
        [[noreturn]] void refuse(const Position &position, const std::string &problem) const;
    };

    Source parsed(std::filesystem::path path, std::string included_by, const std::string &text) const;
    Scenario read(Source &source);
    void read_head(Source &source, Scenario &scenario) const;
    Steps read_document(Source &source, const cJSON *given);
    Steps read_list(Source &source, const cJSON *list);
    Steps read_item(Source &source, const cJSON *item);
    Steps included(Source &source, const cJSON *item);
    Steps steps_of_file(Source &source, const cJSON *where, const std::string &name, const cJSON *given);
    Steps any_order(Source &source, const cJSON *item);
    void must_be_readable(const std::filesystem::path &path, const cJSON *where) const;

    static constexpr std::size_t max_depth = 16;
    static constexpr std::size_t max_includes = 1000;
    static constexpr std::size_t max_steps = 100'000;

    const ScenarioInput &input_;
    RandomNumbers numbers_;
    bool is_shuffled_ = false;
    std::size_t bytes_left_ = std::size_t{4} << 20; // for the values of variables
    std::size_t steps_ = 0;
    std::vector<std::filesystem::path> open_{}; // the files that include each other, the first one first
    std::vector<std::string> included_{};
};

} // namespace kv::virtual_agent
