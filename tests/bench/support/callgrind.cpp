// SPDX-License-Identifier: Apache-2.0
#include "callgrind.hpp"

#include "runs.hpp"

#include <csignal>
#include <fstream>
#include <map>
#include <stdexcept>

namespace kv::test {

namespace {

/// Names of objects. A definition is "(NUMBER) NAME"; later ones of the same object have the number only.
class Objects {
public:
    const std::string &name(const std::string &definition)
    {
        const std::size_t end = definition.find(')');
        std::string &name = names_[definition.substr(0, end)];
        if (end + 2 < definition.size())
            name = definition.substr(end + 2);
        return name;
    }

private:
    std::map<std::string, std::string> names_;
};

bool is_of_system(const std::string &object)
{
    return object.starts_with("/usr/") || object.starts_with("/lib") || object == "???";
}

/// The instructions of a line "POSITION COUNT", or 0 if it is another line. Positions are numbers, relative with a sign, or
/// "*" for the same position again.
double count_of(const std::string &line)
{
    const std::size_t space = line.find(' ');
    if (line.empty() || std::string{"0123456789+-*"}.find(line[0]) == std::string::npos || space == std::string::npos)
        return 0;
    return std::stod(line.substr(space));
}

/// Counts the instructions of the command that follows, and writes them to a file when it ends.
std::vector<std::string> callgrind(const std::string &file)
{
    return {"valgrind", "--quiet", "--tool=callgrind", "--callgrind-out-file=" + file};
}

Instructions instructions_of_client(const Setting &setting, const std::string &client, int calls)
{
    const std::string file = setting.folder() + "/callgrind";
    std::vector<std::string> command = callgrind(file);
    for (const std::string &word : calls_to(setting, client, calls))
        command.push_back(word);
    run(command);
    return read_callgrind(file);
}

Instructions instructions_of_agent(const Setting &setting, const std::string &client, int calls)
{
    const std::string file = setting.folder() + "/callgrind-agent";
    const auto agent = setting.serve_with_tool(callgrind(file));
    run(calls_to(setting, client, calls));
    agent->signal(SIGTERM);
    rest_of_output(*agent);
    return read_callgrind(file);
}

} // namespace

Instructions read_callgrind(const std::string &file)
{
    Instructions counted;
    Objects objects;
    bool is_own = false;
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("ob=")) {
            is_own = !is_of_system(objects.name(line.substr(3)));
        } else if (line.starts_with("cob=")) {
            objects.name(line.substr(4));
        } else if (line.starts_with("calls=")) {
            std::getline(lines, line); // what the called function took; its own lines have it too
        } else {
            const double count = count_of(line);
            counted.total += count;
            counted.own += is_own ? count : 0;
        }
    }
    if (counted.own == 0)
        throw std::runtime_error("callgrind counted nothing");
    return counted;
}

Instructions instructions_per_call(const Setting &setting, const std::string &client, int few, int many)
{
    return (instructions_of_client(setting, client, many) - instructions_of_client(setting, client, few)) /
           (many - few);
}

Instructions agent_instructions_per_call(const Setting &setting, const std::string &client, int few, int many)
{
    return (instructions_of_agent(setting, client, many) - instructions_of_agent(setting, client, few)) / (many - few);
}

} // namespace kv::test
