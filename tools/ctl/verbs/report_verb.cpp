// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "report_options.hpp"
#include "tools/ctl/cli/choice.hpp"
#include "tools/ctl/output/failure.hpp"

#include <CLI/CLI.hpp>

#include <map>

namespace kv::ctl {

namespace {

struct MergeOptions {
    std::string action{};
    std::vector<std::string> files{};
    ReportOptions report{};
};

/// Reports of one suite. A case in two of them, or a missing shard, means that they do not belong together.
class Merge {
public:
    void add(const std::string &file)
    {
        const SuiteResult part = read_report(file);
        for (const CaseResult &one : part.cases) {
            const auto [known, is_new] = files_.try_emplace(one.name(), file);
            if (!is_new)
                throw Failure{failed, "the case " + one.name() + " is in both " + known->second + " and " + file};
            merged_.cases.push_back(one);
        }
        if (part.shard)
            add_shard(*part.shard, file);
        merged_.seconds += part.seconds;
        merged_.complete = merged_.complete && part.complete;
    }

    SuiteResult take()
    {
        if (shards_.empty())
            return std::move(merged_);
        for (unsigned index = 1; index <= count_; ++index)
            if (!shards_.contains(index))
                throw Failure{failed, "the report of shard " + Shard{index, count_}.text() + " is missing"};
        return std::move(merged_);
    }

private:
    void add_shard(const Shard &shard, const std::string &file)
    {
        if (!shards_.empty() && shard.count != count_)
            throw Failure{failed, file + " is a report of one of " + std::to_string(shard.count) +
                                      " shards, and another one of " + std::to_string(count_)};
        count_ = shard.count;
        if (const auto [known, is_new] = shards_.try_emplace(shard.index, file); !is_new)
            throw Failure{failed, known->second + " and " + file + " are both reports of shard " + shard.text()};
    }

    SuiteResult merged_{.complete = true};
    std::map<std::string, std::string> files_{}; // by case
    std::map<unsigned, std::string> shards_{};   // files by shard
    unsigned count_ = 0;
};

int merge(const Context &context, const MergeOptions &options)
{
    const ReportForm form = form_of(context, options.report);
    Merge reports;
    for (const std::string &file : options.files)
        reports.add(file);
    const SuiteResult merged = reports.take();
    ReportFile{options.report}.write(merged);
    Printer printer{context.out, form};
    for (const CaseResult &one : merged.cases)
        printer.print(one);
    printer.finish(merged);
    return merged.passed() ? done : failed;
}

std::function<int()> set_up_report(CLI::App &app, Context &context)
{
    auto options = std::make_shared<MergeOptions>();
    app.add_option("ACTION", options->action, "merge")->required()->check(one_of({"merge"}));
    app.add_option("FILE", options->files, "Reports that 'test' wrote with --junit or --json")->required();
    add_report_options(app, options->report);
    return [&context, options] { return merge(context, *options); };
}

} // namespace

const Verb report_verb{
    .name = "report",
    .help = "Merge the reports of the shards of 'test'",
    .usage = "merge FILE...",
    .examples = "  korvanectl report merge --junit all.xml shard-1.xml shard-2.xml\n"
                "  korvanectl report merge --json shard-*.json > all.json\n"
                "The exit status is 0 if every shard is there, each case has run once, and all passed.",
    .set_up = set_up_report,
};

} // namespace kv::ctl
