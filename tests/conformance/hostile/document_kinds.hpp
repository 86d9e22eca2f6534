// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "conformance/fixtures/setup_fixture.hpp"

/// The documents that come from the agent, each with its members and the way in which it comes.
namespace kv::test {

/// A member of a document: its getter, for a handle of any type.
struct Member {
    std::string key;
    int (*text)(void *document, char **value);
    int (*number)(void *document, int *value);
};

/// What the test does with the document that came, or with none.
using DocumentUse = std::function<void(void *document)>;

struct DocumentKind {
    std::string label;
    std::vector<Member> members;
    /// Has the text arrive from the agent, and the use run once.
    void (*arrive)(korvane_h handle, const std::string &text, const DocumentUse &use);
    bool other_values_are_none; // JSON that is no object is refused, instead of having no members
};

inline std::ostream &operator<<(std::ostream &out, const DocumentKind &kind)
{
    return out << kind.label;
}

const std::vector<DocumentKind> &document_kinds();

} // namespace kv::test
