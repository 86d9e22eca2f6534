-- SPDX-License-Identifier: Apache-2.0
-- Reading the values of a parcel, and adding them to the tree.

local MAX_ITEMS = 65536 -- of an array

-- A cursor reads from `at` on. After the first value that is missing or malformed it is not whole and reads nothing more. If the
-- value is missing only because the packet was captured in part, it is also cut.

local Cursor = {}
Cursor.__index = Cursor

local function cursor_of(bytes, size) return setmetatable({bytes = bytes, size = size, at = 0, whole = true}, Cursor) end

-- Whether there are so many bytes more.
function Cursor:has(size)
    if self.whole and size > self.bytes:len() - self.at then
        self.whole = false
        self.cut = size <= self.size - self.at
    end
    return self.whole
end

-- The next bytes as a range; nil if there are not so many.
function Cursor:take(size)
    if not self:has(size) then return nil end
    self.at = self.at + size
    return size > 0 and self.bytes(self.at - size, size) or nil, true
end

function Cursor:int32()
    local range = self:take(4)
    return range and range:le_int(), range
end

function Cursor:bool()
    local range = self:take(1)
    local value = range and range:uint()
    if value and value > 1 then self.whole = false end
    if not self.whole then return nil end
    return value == 1, range
end

function Cursor:text()
    local range = self:take(4)
    if not range then return nil end
    local start = self.at - 4
    local content, there = self:take(range:le_uint())
    if not there then return nil end
    local text = content and content:raw() or ""
    if text:find("%z") then
        self.whole = false
        return nil
    end
    return text, self.bytes(start, 4 + #text)
end

local function add(tree, element, range, value, text)
    if not tree then return nil end
    local item = value == nil and tree:add(element.field, range, text) or tree:add(element.field, range, value)
    return item
end

local readers = {}

-- Reads a value, adds it to the tree, and returns it as JSON; nil if it is missing or malformed.
local function read(element, cursor, tree) return readers[element.type](element, cursor, tree) end

function readers.int32(element, cursor, tree)
    local number, range = cursor:int32()
    if not number then return nil end
    add(tree, element, range, number)
    return {kind = "number", number = number}
end

function readers.bool(element, cursor, tree)
    local flag, range = cursor:bool()
    if flag == nil then return nil end
    add(tree, element, range, flag)
    return {kind = "boolean", flag = flag}
end

function readers.string(element, cursor, tree)
    local text, range = cursor:text()
    if not text then return nil end
    add(tree, element, range, valid_text(text))
    return {kind = "string", text = text}
end

function readers.secret(element, cursor, tree)
    local text, range = cursor:text()
    if not text then return nil end
    local value = secret(text)
    add(tree, element, range, valid_text(value.text))
    return value
end

local function add_members(tree, document, shown, range)
    for _, pair in ipairs(shown.members) do
        local member = document[pair[1]]
        local text = pair[2].kind == "string" and valid_text(pair[2].text) or json_text(pair[2])
        if type(member) == "table" and member.field then
            tree:add(member.field, range, text)
        else
            tree:add(range, valid_text(pair[1]) .. ": " .. text)
        end
    end
end

local function read_document(element, document, cursor, tree)
    local text, range = cursor:text()
    if not text then return nil end
    local shown, found = shown_document(document, text)
    local item = add(tree, element, range, shown.kind == "string" and valid_text(shown.text) or json_text(shown))
    if found then add_members(item, found, shown, range) end
    return shown
end

function readers.document(element, cursor, tree)
    return read_document(element, interface.documents[element.of], cursor, tree)
end

function readers.command(element, cursor, tree) return read_document(element, nil, cursor, tree) end

function readers.delegate(element, cursor, tree)
    local start = cursor.at
    local id = cursor:int32()
    local seq_id, seq_range = cursor:int32()
    local once, once_range = cursor:bool()
    if not cursor.whole or id ~= tonumber(element.of) then
        cursor.whole = false
        return nil
    end
    local value = {kind = "object", members = {{"seq_id", {kind = "number", number = seq_id}},
        {"once", {kind = "boolean", flag = once}}}}
    local item = add(tree, element, cursor.bytes(start, cursor.at - start), json_text(value))
    item:add_le(f.seq_id, seq_range)
    item:add(f.once, once_range)
    return value
end

-- Reads several values; the members that could be read.
local function read_all(elements, cursor, tree)
    local members = {}
    for _, element in ipairs(elements) do
        local value = read(element, cursor, tree)
        if not value then break end
        members[#members + 1] = {element.name, value}
    end
    return members
end

-- A tree item for a value of several others, which is named and sized when they were read.
local function with_subtree(element, cursor, tree, read_content)
    local start = cursor.at
    local item = tree:add(element.field, cursor.bytes(start), "")
    local value = read_content(item)
    if not value then return nil end
    item:set_len(cursor.at - start)
    item:set_text(element.name .. ": " .. json_text(value))
    return value
end

function readers.record(element, cursor, tree)
    if not cursor:has(1) then return nil end
    return with_subtree(element, cursor, tree, function(item)
        local members = read_all(interface.records[element.of], cursor, item)
        return cursor.whole and {kind = "object", members = members} or nil
    end)
end

-- An element of an array has at least one byte.
local function read_count(cursor, item)
    local count, range = cursor:int32()
    if not count then return nil end
    if count < 0 or count > cursor.size - cursor.at or count > MAX_ITEMS then
        cursor.whole = false
        return nil
    end
    item:add_le(f.count, range)
    return count
end

function readers.array(element, cursor, tree)
    if not cursor:has(1) then return nil end
    return with_subtree(element, cursor, tree, function(item)
        local count = read_count(cursor, item)
        local items = {}
        for i = 1, count or 0 do
            items[i] = read(interface.arrays[element.of], cursor, item)
            if not items[i] then break end
        end
        return cursor.whole and {kind = "array", items = items} or nil
    end)
end
