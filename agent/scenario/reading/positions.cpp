// SPDX-License-Identifier: Apache-2.0
// The parser drops positions, so the text is read a second time, along the values that were parsed from it.
#include "positions.hpp"

namespace kv::virtual_agent {

std::string Position::text() const
{
    return "line " + std::to_string(line) + (column == 0 ? "" : ", column " + std::to_string(column));
}

Position Position::of(const std::string &text, std::size_t offset)
{
    Position position;
    for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
        ++position.column;
        if (text[i] == '\n')
            position = {position.line + 1, 1};
    }
    return position;
}

/// Reads a text that is known to be valid.
class Positions::Reader {
public:
    Reader(const std::string &text, std::unordered_map<const cJSON *, Position> &known) : text_(text), known_(known)
    {
        if (text.rfind("\xEF\xBB\xBF", 0) == 0) // a byte order mark, which has no width
            next_ = 3;
    }

    void read(const cJSON *value)
    {
        skip_to_token();
        known_.try_emplace(value, here_); // a member has the position of its name already
        if (cJSON_IsObject(value) || cJSON_IsArray(value))
            read_children(value);
        else if (peek() == '"')
            skip_text();
        else
            while (next_ < text_.size() && static_cast<unsigned char>(peek()) > ' ' &&
                   std::string{",]}"}.find(peek()) == std::string::npos)
                advance();
    }

private:
    void read_children(const cJSON *parent)
    {
        advance(); // the bracket
        for (const cJSON *child = parent->child; child; child = child->next) {
            if (cJSON_IsObject(parent)) {
                skip_to_token();
                known_.try_emplace(child, here_);
                skip_text();
                skip_to_token(); // the colon
                advance();
            }
            read(child);
            skip_to_token(); // the comma, or the bracket of an empty rest
            if (child->next)
                advance();
        }
        skip_to_token();
        advance();
    }

    void skip_text()
    {
        for (advance(); next_ < text_.size() && peek() != '"'; advance())
            if (peek() == '\\')
                advance();
        advance();
    }

    /// Skips what the parser takes for white space.
    void skip_to_token()
    {
        while (next_ < text_.size() && static_cast<unsigned char>(peek()) <= ' ')
            advance();
    }

    char peek() const { return next_ < text_.size() ? text_[next_] : '\0'; }

    void advance()
    {
        ++here_.column;
        if (peek() == '\n')
            here_ = {here_.line + 1, 1};
        ++next_;
    }

    const std::string &text_;
    std::unordered_map<const cJSON *, Position> &known_;
    std::size_t next_ = 0;
    Position here_{};
};

Positions::Positions(const std::string &text, const cJSON *document)
{
    Reader{text, known_}.read(document);
}

Position Positions::of(const cJSON *value) const
{
    const auto found = known_.find(value);
    return found == known_.end() ? Position{1, 0} : found->second;
}

void Positions::add_copy(const cJSON *copy, const cJSON *original)
{
    if (const auto found = known_.find(original); found != known_.end())
        known_.insert_or_assign(copy, Position{found->second});
    const cJSON *inner = original->child;
    for (const cJSON *child = copy->child; child && inner; child = child->next, inner = inner->next)
        add_copy(child, inner);
}

void Positions::spread(const cJSON *value)
{
    for (const cJSON *child = value->child; child; child = child->next) {
        known_.insert_or_assign(child, of(value));
        spread(child);
    }
}

} // namespace kv::virtual_agent
