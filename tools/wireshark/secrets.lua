-- SPDX-License-Identifier: Apache-2.0
-- What is shown of secrets and of documents that may hold some.

-- The C strings of the agent and of korvanectl end at a byte 0, which no text from the wire has.
local function secret(text)
    if korvane.prefs.show_secrets then return {kind = "string", text = text} end
    return {kind = "string", text = "<secret, " .. #text .. " bytes>"}
end

local function masked(value)
    if korvane.prefs.show_secrets then return value end
    return secret(value.kind == "string" and value.text or json_text(value))
end

local function scalar(value)
    if value.kind == "object" or value.kind == "array" then return masked(value) end
    return value
end

local shown_members

-- A member that is not a secret. Objects are shown only as described items of an array.
local function visible(member, value)
    if value.kind ~= "array" then return scalar(value) end
    local items = {}
    for i, item in ipairs(value.items) do
        items[i] = member.items and item.kind == "object" and shown_members(interface.documents[member.items], item)
            or scalar(item)
    end
    return {kind = "array", items = items}
end

-- A key that occurs again replaces the value at its first place.
local function set(members, key, value)
    for _, member in ipairs(members) do
        if member[1] == key then
            member[2] = value
            return
        end
    end
    members[#members + 1] = {key, value}
end

function shown_members(document, object)
    local shown = {}
    for _, pair in ipairs(object.members) do
        local member = document[pair[1]]
        local is_visible = type(member) == "table" and member.field and not member.secret
        set(shown, valid_text(pair[1]), is_visible and visible(member, pair[2]) or masked(pair[2]))
    end
    return {kind = "object", members = shown}
end

local function command_of(object)
    local number
    for _, pair in ipairs(object.members) do
        if pair[1] == interface.command_number and not number then number = pair[2] end
    end
    return number and number.kind == "number" and interface.commands[math.floor(number.number)] or interface.unknown_command
end

local function shown_document(document, text)
    local object = parse_object(text)
    if not object or document and document.only_secrets then return secret(text) end
    document = document or command_of(object)
    return shown_members(document, object), document
end
