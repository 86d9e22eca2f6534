// SPDX-License-Identifier: Apache-2.0
#include "control_file.hpp"

#include "agent/loop/source.hpp"

#include <glib/gstdio.h>

#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <unistd.h>

namespace kv::virtual_agent {

std::string ControlPlace::console() const
{
    return "http://127.0.0.1:" + std::to_string(port.value_or(0)) + "/#" + token;
}

ControlFile::ControlFile(ControlPlace place, const State &state, Journal &journal)
    : place_(std::move(place)), state_(state), listener_(journal.listen([this](const Journal::Entry &) {
          if (state_.version.text() != written_version_)
              contain([this] { write(); });
      }))
{
    remove_left_overs();
    write();
}

ControlFile::~ControlFile()
{
    ::unlink(place_.file().c_str());
    ::unlink(place_.socket().c_str());
}

/// Removes the files of an agent that was killed, finished and not. This agent serves the port, so no other one runs.
void ControlFile::remove_left_overs() const
{
    const std::string prefix = std::filesystem::path{place_.file()}.filename().string() + ".";
    std::error_code ignored;
    std::filesystem::remove(place_.file(), ignored);
    for (const auto &entry : std::filesystem::directory_iterator{place_.directory, ignored})
        if (const std::string name = entry.path().filename(); name.compare(0, prefix.size(), prefix) == 0)
            std::filesystem::remove(entry.path(), ignored);
}

void ControlFile::write()
{
    written_version_ = state_.version.text();
    Json facts = Json::object();
    facts.set("pid", static_cast<int>(::getpid())).set("version", written_version_);
    facts.set("socket", place_.socket());
    if (place_.port)
        facts.set("http", std::move(Json::object().set("port", *place_.port).set("token", place_.token)));
    const std::string text = facts.text() + "\n";
    GError *error = nullptr;
    // Without the first flag GLib would wait for the disk, although the file means nothing after a power cut.
    const auto flags =
        static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_ONLY_EXISTING | G_FILE_SET_CONTENTS_CONSISTENT);
    if (g_file_set_contents_full(place_.file().c_str(), text.data(), static_cast<gssize>(text.size()), flags, 0600,
                                 &error))
        return;
    const std::string why = error->message;
    g_error_free(error);
    throw std::runtime_error{"cannot write " + place_.file() + ": " + why};
}

} // namespace kv::virtual_agent
