-- SPDX-License-Identifier: Apache-2.0
-- A packet is a head and a parcel, without the length before it:
--   link (0 main, 1 callback), sender (0 application, 1 agent), recorder (0 application, 1 agent), 0: one byte each
--   process, port: 32-bit numbers, little-endian
-- The texts are those of `korvanectl trace`.

local HEAD = 12

local function members_text(members)
    local parts = {}
    for i, member in ipairs(members) do parts[i] = member[1] .. " " .. json_text(member[2]) end
    return table.concat(parts, ", ")
end

local open = {}      -- the last request of each port, by process and port: {id, frame, time}
local exchanges = {} -- request and reply of a frame: {request = {id, frame, time}, reply = frame}

function korvane.init()
    open = {}
    exchanges = {}
end

local function name_in(list, id) return list[id] and list[id].name or "unknown " .. id end

-- Reads the values of a parcel whose method or delegate is described; any other cannot be decoded.
local function read_described(elements, cursor, tree)
    if not elements then
        cursor.whole = false
        return {}
    end
    return read_all(elements, cursor, tree)
end

local function dissect_request(parcel, id, cursor, tree)
    local method = interface.methods[id]
    local members = read_described(method and method.arguments, cursor, tree)
    local name = name_in(interface.methods, id)
    tree:add(f.request, parcel.bytes(0, math.min(4, parcel.bytes:len())), name)
    if not parcel.pinfo.visited then
        local request = {id = id, frame = parcel.pinfo.number, time = parcel.pinfo.abs_ts}
        open[parcel.key] = request
        exchanges[request.frame] = {request = request}
    end
    local exchange = exchanges[parcel.pinfo.number]
    if exchange and exchange.reply then tree:add(f.reply_in, exchange.reply):set_generated() end
    return "->  " .. name .. "(" .. members_text(members) .. ")", members
end

-- The request to which the parcel is the reply; nil if it is not in the trace.
local function request_of(parcel)
    local frame = parcel.pinfo.number
    if not parcel.pinfo.visited and open[parcel.key] then
        local request = open[parcel.key]
        open[parcel.key] = nil
        exchanges[frame] = {request = request}
        exchanges[request.frame].reply = frame
    end
    return exchanges[frame] and exchanges[frame].request
end

local function read_result(cursor, tree, members)
    local result, range = cursor:int32()
    if not result then return end
    tree:add_le(f.result, range)
    members[#members + 1] = {"result", {kind = "number", number = result}}
end

local function dissect_reply(parcel, cursor, tree)
    local request = request_of(parcel)
    local method = request and interface.methods[request.id]
    local members = read_described(method and method.outs, cursor, tree)
    read_result(cursor, tree, members)
    local name = request and name_in(interface.methods, request.id) or "to a request before the trace"
    tree:add(f.reply, parcel.bytes(0, 4), name)
    if request then
        tree:add(f.request_in, request.frame):set_generated()
        tree:add(f.duration, NSTime.new(0, math.floor((parcel.pinfo.abs_ts - request.time) * 1e9 + 0.5))):set_generated()
    end
    return "<-  " .. name .. ": " .. members_text(members), members
end

local function dissect_event(parcel, cursor, tree)
    local id, id_range = cursor:int32()
    local seq_id, seq_range = cursor:int32()
    local once, once_range = cursor:bool()
    if id then tree:add_le(f.id, id_range) end
    if seq_id then tree:add_le(f.seq_id, seq_range) end
    if once ~= nil then tree:add(f.once, once_range) end
    local delegate = id and interface.delegates[id]
    local name = name_in(interface.delegates, id or -1)
    local members = read_described(delegate and delegate.values, cursor, tree)
    tree:add(f.event, parcel.bytes(0, math.min(8, parcel.bytes:len())), name)
    return "<=  " .. name .. "(" .. members_text(members) .. ")", members
end

local function dissect_parcel(parcel, cursor, tree)
    local number, range = cursor:int32()
    local is_request = parcel.link == 0 and parcel.sender == 0
    if range then tree:add_le(is_request and f.id or f.kind, range) end
    if is_request then return dissect_request(parcel, number or -1, cursor, tree) end
    if number == 0 and parcel.link == 0 then return dissect_reply(parcel, cursor, tree) end
    if number == 1 and parcel.link == 1 then return dissect_event(parcel, cursor, tree) end
    cursor.whole = false
    return "??  a parcel of kind " .. (number or -1), {}
end

-- The problem of a parcel as korvanectl prints it, or nil.
local function add_problem(cursor, size, tree)
    if cursor.cut then
        tree:add_proto_expert_info(cut)
        return "only the beginning was captured"
    end
    if not cursor.whole then
        tree:add_proto_expert_info(malformed)
        return "cut short or malformed"
    end
    if cursor.at == size then return nil end
    tree:add_proto_expert_info(too_long)
    return "longer than it must be"
end

local function add_head(buffer, tree)
    tree:add(f.link, buffer(0, 1))
    tree:add(f.sender, buffer(1, 1))
    tree:add(f.recorder, buffer(2, 1))
    tree:add_le(f.process, buffer(4, 4))
    tree:add_le(f.port, buffer(8, 4))
end

local function set_columns(pinfo, buffer, text)
    local process = " " .. buffer(4, 4):le_uint()
    local recorder = buffer(2, 1):uint()
    local sender = buffer(1, 1):uint()
    local receiver = 1 - sender
    pinfo.cols.protocol = "Korvane"
    pinfo.cols.src = (ends[sender] or "?") .. (sender == recorder and process or "")
    pinfo.cols.dst = (ends[receiver] or "?") .. (receiver == recorder and process or "")
    pinfo.cols.info = text
end

local function without_head(buffer, pinfo, tree)
    pinfo.cols.protocol = "Korvane"
    pinfo.cols.info = "??  a packet without the head of a record  [malformed]"
    tree:add_proto_expert_info(malformed)
end

function korvane.dissector(buffer, pinfo, root)
    local tree = root:add(korvane, buffer())
    if buffer:len() < HEAD then return without_head(buffer, pinfo, tree) end
    add_head(buffer, tree)
    local size = buffer:reported_len() - HEAD
    local bytes = buffer:len() > HEAD and buffer(HEAD):tvb() or ByteArray.new():tvb("empty parcel")
    local parcel = {bytes = bytes, pinfo = pinfo, link = buffer(0, 1):uint(), sender = buffer(1, 1):uint(),
        key = buffer(4, 4):le_uint() .. ":" .. buffer(8, 4):le_uint()}
    local cursor = cursor_of(bytes, size)
    local text, members = dissect_parcel(parcel, cursor, tree)
    local problem = add_problem(cursor, size, tree)
    if problem then text = text .. "  [" .. problem .. ", " .. size .. " bytes]" end
    tree:add(f.values, buffer(), object_text(members)):set_generated()
    tree:add(f.text, buffer(), text):set_generated()
    set_columns(pinfo, buffer, text)
end
