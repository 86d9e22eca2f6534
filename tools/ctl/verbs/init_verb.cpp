// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/cli/choice.hpp"
#include "tools/ctl/init/new_application.hpp"
#include "tools/ctl/output/failure.hpp"

#include <CLI/CLI.hpp>

#include <filesystem>

namespace kv::ctl {

namespace {

struct InitOptions {
    std::string name;
    std::string language = "c";
};

/// The directory below which Korvane is installed, if compilers and Python do not look there by themselves.
std::filesystem::path own_prefix()
{
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    const std::filesystem::path prefix = program.parent_path().parent_path();
    return prefix != "/usr" && std::filesystem::exists(prefix / "include/korvane.h") ? prefix : "";
}

/// The commands that build the application and run its tests.
std::vector<std::string> next_commands(const InitOptions &options)
{
    const std::string prefix = own_prefix();
    std::vector<std::string> commands{"cd " + options.name};
    if (options.language == "python") {
        if (!prefix.empty())
            commands.push_back("export PYTHONPATH=\"" + prefix + "/lib/python3/dist-packages\" LD_LIBRARY_PATH=\"" +
                               prefix + "/" KORVANE_LIBDIR "\" PATH=\"" + prefix + "/bin:$PATH\"");
        commands.insert(commands.end(),
                        {"/usr/bin/python3 -m pytest", "korvanectl run scenario.json -- /usr/bin/python3 main.py"});
    } else {
        commands.insert(commands.end(),
                        {"cmake -S . -B build" + (prefix.empty() ? "" : " -D CMAKE_PREFIX_PATH=\"" + prefix + "\""),
                         "cmake --build build", "ctest --test-dir build"});
    }
    return commands;
}

int init(const Output &out, const InitOptions &options)
{
    const std::vector<std::string> files = write_application(options.name, options.language);
    const std::vector<std::string> commands = next_commands(options);
    std::string text = "wrote " + options.name + ":";
    for (const std::string &file : files)
        text += " " + file;
    text += "\nBuild and test it:";
    for (const std::string &command : commands)
        text += "\n  " + command;
    out.line(text,
             {{"directory", options.name}, {"language", options.language}, {"files", files}, {"commands", commands}});
    return done;
}

std::function<int()> set_up_init(CLI::App &app, Context &context)
{
    auto options = std::make_shared<InitOptions>();
    app.add_option("NAME", options->name, "The application and its new directory")->required();
    app.add_option("--language", options->language, "c, c++ or python (default: c)")
        ->type_name("LANGUAGE")
        ->check(one_of(application_languages()));
    return [&context, options] { return init(context.out, *options); };
}

} // namespace

const Verb init_verb{
    .name = "init",
    .help = "Write a small application with its scenario, its unit test and its build file",
    .usage = "NAME",
    .examples = "  korvanectl init lamp\n"
                "  korvanectl init lamp --language c++",
    .set_up = set_up_init,
};

} // namespace kv::ctl
