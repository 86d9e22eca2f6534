-- SPDX-License-Identifier: Apache-2.0
-- Reading and writing JSON.
-- A parsed value is {kind = "object", members = {{key, value}, ...}}, {kind = "array", items = {...}}, {kind = "string",
-- text = ...}, {kind = "number", number = ...}, {kind = "boolean", flag = ...} or {kind = "null"}.

local MAX_DOCUMENT = 4096 -- bytes of text; a longer document is masked as a whole
local MAX_DEPTH = 1000
local REPLACEMENT = "\xEF\xBF\xBD" -- for bytes that are not UTF-8

local short_escapes = {['"'] = '\\"', ["\\"] = "\\\\", ["\b"] = "\\b", ["\f"] = "\\f", ["\n"] = "\\n", ["\r"] = "\\r",
    ["\t"] = "\\t"}

-- The bytes of the character at a position, or nil for a byte that is not UTF-8.
local function character_at(text, at)
    local first, second = text:byte(at, at + 1)
    if first < 0x80 then return 1 end
    local size = first >= 0xF0 and 4 or first >= 0xE0 and 3 or 2
    if first < 0xC2 or first > 0xF4 or not text:find("^" .. ("[\x80-\xBF]"):rep(size - 1), at + 1) then return nil end
    if first == 0xE0 and second < 0xA0 or first == 0xED and second > 0x9F or first == 0xF0 and second < 0x90
        or first == 0xF4 and second > 0x8F then
        return nil
    end
    return size
end

local function valid_text(text)
    if not text:find("[\x80-\xFF]") then return text end
    local parts, at = {}, 1
    while at <= #text do
        local size = character_at(text, at)
        parts[#parts + 1] = size and text:sub(at, at + size - 1) or REPLACEMENT
        at = at + (size or 1)
    end
    return table.concat(parts)
end

local function quoted(text)
    local escaped = valid_text(text):gsub('[%z\1-\31"\\]', function(letter)
        return short_escapes[letter] or string.format("\\u%04x", letter:byte())
    end)
    return '"' .. escaped .. '"'
end

local function number_text(number)
    if number == math.floor(number) and math.abs(number) <= 2 ^ 53 then return string.format("%.0f", number) end
    for digits = 15, 17 do
        local text = string.format("%." .. digits .. "g", number)
        if tonumber(text) == number then return text end
    end
    return "null"
end

local json_text

local function object_text(members)
    local parts = {}
    for _, member in ipairs(members) do parts[#parts + 1] = quoted(member[1]) .. ":" .. json_text(member[2]) end
    return "{" .. table.concat(parts, ",") .. "}"
end

local function array_text(items)
    local parts = {}
    for i, item in ipairs(items) do parts[i] = json_text(item) end
    return "[" .. table.concat(parts, ",") .. "]"
end

function json_text(value)
    if value.kind == "object" then return object_text(value.members) end
    if value.kind == "array" then return array_text(value.items) end
    if value.kind == "string" then return quoted(value.text) end
    if value.kind == "number" then return number_text(value.number) end
    if value.kind == "boolean" then return tostring(value.flag) end
    return "null"
end

-- The UTF-8 bytes of a code point.
local function utf8_bytes(code)
    if code < 0x80 then return string.char(code) end
    if code < 0x800 then return string.char(0xC0 + math.floor(code / 64), 0x80 + code % 64) end
    if code < 0x10000 then
        return string.char(0xE0 + math.floor(code / 4096), 0x80 + math.floor(code / 64) % 64, 0x80 + code % 64)
    end
    return string.char(0xF0 + math.floor(code / 262144), 0x80 + math.floor(code / 4096) % 64,
        0x80 + math.floor(code / 64) % 64, 0x80 + code % 64)
end

local escaped_letters = {b = "\b", f = "\f", n = "\n", r = "\r", t = "\t", ['"'] = '"', ["\\"] = "\\", ["/"] = "/"}

-- The code point of the escape \uXXXX at a position, and the position behind it; nil if there is none.
local function escaped_code(text, at)
    local code = tonumber(text:match("^\\u(%x%x%x%x)", at) or "", 16)
    if not code or code == 0 or (code >= 0xDC00 and code <= 0xDFFF) then return nil end
    if code < 0xD800 or code > 0xDBFF then return code, at + 6 end
    local low = tonumber(text:match("^\\u(%x%x%x%x)", at + 6) or "", 16)
    if not low or low < 0xDC00 or low > 0xDFFF then return nil end
    return 0x10000 + (code - 0xD800) * 0x400 + low - 0xDC00, at + 12
end

local function parse_escape(text, at)
    local letter = escaped_letters[text:sub(at + 1, at + 1)]
    if letter then return letter, at + 2 end
    local code, next = escaped_code(text, at)
    if not code then return nil end
    return utf8_bytes(code), next
end

local function parse_string(text, at)
    local parts = {}
    at = at + 1
    while true do
        local plain = text:match('^[^"\\]*', at)
        parts[#parts + 1] = plain
        at = at + #plain
        if text:sub(at, at) ~= "\\" then break end
        local letter, next = parse_escape(text, at)
        if not letter then return nil end
        parts[#parts + 1] = letter
        at = next
    end
    if text:sub(at, at) ~= '"' then return nil end
    return {kind = "string", text = table.concat(parts)}, at + 1
end

local function skip_space(text, at) return text:match("^[\1-\32]*()", at) end

local parse_value

-- The elements between brackets, each parsed by parse_one(text, at).
local function parse_list(text, at, close, parse_one)
    local items = {}
    at = skip_space(text, at + 1)
    if text:sub(at, at) == close then return items, at + 1 end
    while true do
        local item
        item, at = parse_one(text, at)
        if not item then return nil end
        items[#items + 1] = item
        at = skip_space(text, at)
        local letter = text:sub(at, at)
        if letter == close then return items, at + 1 end
        if letter ~= "," then return nil end
        at = skip_space(text, at + 1)
    end
end

local function parse_member(text, at, depth)
    if text:sub(at, at) ~= '"' then return nil end
    local key, next = parse_string(text, at)
    if not key then return nil end
    next = skip_space(text, next)
    if text:sub(next, next) ~= ":" then return nil end
    local value
    value, next = parse_value(text, skip_space(text, next + 1), depth)
    if not value then return nil end
    return {key.text, value}, next
end

local function parse_container(text, at, depth)
    if depth > MAX_DEPTH then return nil end
    if text:sub(at, at) == "[" then
        local items, next = parse_list(text, at, "]", function(all, from) return parse_value(all, from, depth) end)
        return items and {kind = "array", items = items}, next
    end
    local members, next = parse_list(text, at, "}", function(all, from) return parse_member(all, from, depth) end)
    return members and {kind = "object", members = members}, next
end

local words = {["true"] = {kind = "boolean", flag = true}, ["false"] = {kind = "boolean", flag = false},
    ["null"] = {kind = "null"}}

function parse_value(text, at, depth)
    local letter = text:sub(at, at)
    if letter == "{" or letter == "[" then return parse_container(text, at, depth + 1) end
    if letter == '"' then return parse_string(text, at) end
    local word = text:match("^%l+", at)
    if word then return words[word], at + #word end
    local digits = text:match("^-?%d[%d.eE+-]*", at)
    local number = digits and tonumber(digits)
    if not number then return nil end
    return {kind = "number", number = number}, at + #digits
end

-- The object in a text; nil if the text is too long or is none.
local function parse_object(text)
    if #text > MAX_DOCUMENT then return nil end
    local value, next = parse_value(text, skip_space(text, 1), 0)
    if not value or value.kind ~= "object" or skip_space(text, next) <= #text then return nil end
    return value
end
