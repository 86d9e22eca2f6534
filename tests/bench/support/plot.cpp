// SPDX-License-Identifier: Apache-2.0
#include "plot.hpp"

#include "processes.hpp"

#include <filesystem>
#include <fstream>

namespace kv::test {

namespace {

/// Colours that also differ in grey, and for readers who cannot tell red from green.
constexpr const char *colours[] = {"#000000", "#0072b2", "#d55e00", "#009e73", "#cc79a7"};

std::string script_of(const Plot &plot, const std::string &path)
{
    std::string script =
        "set terminal svg noenhanced size 640,400 dynamic font 'sans-serif,13' background '#ffffff'\n"
        "set output '" +
        path + "'\nset title \"" + plot.title + "\"\nset xlabel \"" + plot.x + "\"\nset ylabel \"" + plot.y +
        "\"\nset logscale xy\nset grid lc '#dddddd'\nset key outside bottom center horizontal reverse Left\n";
    std::string curves;
    for (std::size_t i = 0; i < plot.series.size(); ++i) {
        const std::string data = "$data" + std::to_string(i);
        script += data + " << END\n";
        for (const auto &[x, y] : plot.series[i].points)
            script += std::to_string(x) + " " + std::to_string(y) + "\n";
        script += "END\n";
        curves += (i ? ", " : "plot ") + data + " with linespoints lw 2 pt 7 ps 0.5 lc '" +
                  colours[i % std::size(colours)] + "' title \"" + plot.series[i].title + "\"";
    }
    return script + curves + "\n";
}

} // namespace

std::string draw(const Plot &plot, const std::string &directory)
{
    std::filesystem::create_directories(directory);
    const std::string path = directory + "/" + plot.file;
    const std::string script = path + ".gnuplot";
    std::ofstream(script) << script_of(plot, path);
    run({"gnuplot", script});
    std::filesystem::remove(script);
    return path;
}

} // namespace kv::test
