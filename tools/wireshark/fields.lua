-- SPDX-License-Identifier: Apache-2.0
-- The protocol, its preference and its fields.

local korvane = Proto("korvane", "Korvane ports")
korvane.prefs.show_secrets = Pref.bool("Show secrets", false, "Show passwords, PINs and tokens instead of their length")

local links = {[0] = "main", [1] = "callback"}
local ends = {[0] = "application", [1] = "agent"}

local f = {
    link = ProtoField.uint8("korvane.link", "Link", base.DEC, links),
    sender = ProtoField.uint8("korvane.sender", "Sender", base.DEC, ends),
    recorder = ProtoField.uint8("korvane.recorder", "Recorded by", base.DEC, ends),
    process = ProtoField.uint32("korvane.process", "Process of the recorder"),
    port = ProtoField.uint32("korvane.port", "Port within the process"),
    text = ProtoField.string("korvane.text", "Text"),
    kind = ProtoField.int32("korvane.kind", "Kind"),
    id = ProtoField.int32("korvane.id", "Id"),
    request = ProtoField.string("korvane.request", "Request"),
    reply = ProtoField.string("korvane.reply", "Reply"),
    event = ProtoField.string("korvane.event", "Event"),
    values = ProtoField.string("korvane.values", "Values"),
    seq_id = ProtoField.int32("korvane.seq_id", "Sequence number"),
    once = ProtoField.bool("korvane.once", "Once"),
    result = ProtoField.int32("korvane.result", "Result"),
    count = ProtoField.uint32("korvane.count", "Items"),
    request_in = ProtoField.framenum("korvane.request_in", "Request in", base.NONE, frametype.REQUEST),
    reply_in = ProtoField.framenum("korvane.reply_in", "Reply in", base.NONE, frametype.RESPONSE),
    duration = ProtoField.relative_time("korvane.duration", "Time since the request"),
}
local malformed = ProtoExpert.new("korvane.malformed", "The parcel is cut short or malformed", expert.group.MALFORMED,
    expert.severity.ERROR)
local cut = ProtoExpert.new("korvane.cut", "Only the beginning of the parcel was captured", expert.group.PROTOCOL,
    expert.severity.NOTE)
local too_long = ProtoExpert.new("korvane.too_long", "The parcel is longer than it must be", expert.group.PROTOCOL,
    expert.severity.WARN)

-- One field for each described value: korvane.start.name, korvane.korvane_ap_info.ssid, korvane.document.ap_ssid.
local described = {}

local constructors = {int32 = ProtoField.int32, bool = ProtoField.bool}

local function describe(group, element)
    local abbreviation = "korvane." .. group .. "." .. element.name
    if not described[abbreviation] then
        local constructor = constructors[element.type] or ProtoField.string
        described[abbreviation] = constructor(abbreviation, element.name)
    end
    element.field = described[abbreviation]
end

local function describe_all(group, elements)
    for _, element in ipairs(elements) do describe(group, element) end
end

local function describe_members(document)
    for _, member in ipairs(document.members) do
        local element = {name = member.key, type = "string"}
        describe("document", element)
        member.field = element.field
        document[member.key] = member
    end
end

local function fields_of_interface()
    for name, record in pairs(interface.records) do describe_all(name, record) end
    for name, item in pairs(interface.arrays) do describe(name, item) end
    for _, document in pairs(interface.documents) do describe_members(document) end
    for _, command in pairs(interface.commands) do describe_members(command) end
    describe_members(interface.unknown_command)
    for _, method in pairs(interface.methods) do
        describe_all(method.name, method.arguments)
        describe_all(method.name, method.outs)
    end
    for _, delegate in pairs(interface.delegates) do describe_all(delegate.name, delegate.values) end
end

fields_of_interface()
local all_fields = {}
for _, field in pairs(f) do all_fields[#all_fields + 1] = field end
for _, field in pairs(described) do all_fields[#all_fields + 1] = field end
korvane.fields = all_fields
korvane.experts = {malformed, cut, too_long}
