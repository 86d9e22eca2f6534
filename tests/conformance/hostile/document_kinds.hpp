// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "conformance/fixtures/setup_fixture.hpp"

/// The documents that the agent sends, each with its members and the event or reply that carries it.
namespace kv::test {

/// A member of a document with its getter, which takes a handle of any type.
struct Member {
    std::string key;
    int (*text)(void *document, char **value);
    int (*number)(void *document, int *value);
};

/// A check of the delivered document; null if the library delivered none.
using DocumentUse = std::function<void(void *document)>;

struct DocumentKind {
    std::string label;
    std::vector<Member> members;
    /// Sends the text from the agent and runs the check on the delivered document.
    void (*arrive)(korvane_h handle, const std::string &text, const DocumentUse &use);
    bool other_values_are_null; // JSON that is not an object is delivered as null, not as a document without members
};

inline std::ostream &operator<<(std::ostream &out, const DocumentKind &kind)
{
    return out << kind.label;
}

const std::vector<DocumentKind> &document_kinds();

} // namespace kv::test
