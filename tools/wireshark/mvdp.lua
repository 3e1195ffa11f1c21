-- Dissects MVDP, the discovery protocol of the operator panels, in Wireshark and tshark 4.0 and later.
-- README.md beside this file tells where to put it. docs/protocol.md of the project has the wire format.
--
-- Nothing that a datagram holds may lead to a Lua error: no range is taken that was not captured (see `part`).

-- From the plugin folder and by the command line, for example: the first loading counts.
if package.loaded.mvdp then
    return
end
package.loaded.mvdp = true

local mvdp = Proto("mvdp", "MVDP Panel Discovery Protocol")

local SIZE, HEADER, PORT = 256, 8, 58553
local MAGIC = "\x5e\x13\x06\x03"
local REQUEST, REPLY, NOT_APPLIED = 1, 2, 3
local DISCOVER, ECHO, SET_ADDRESS, RESET_NETWORK, RESTORE = 1, 2, 5, 14, 15

local TYPES = { [REQUEST] = "request", [REPLY] = "reply", [NOT_APPLIED] = "reply, not applied" }
local COMMANDS = {
    [DISCOVER] = "Discover", [ECHO] = "Echo", [4] = "Identify", [SET_ADDRESS] = "Set address",
    [6] = "Restore defaults (relative marker)", [7] = "Wink", [RESET_NETWORK] = "Reset network",
    [RESTORE] = "Restore defaults", [102] = "Restart",
}
-- To these a panel sends the request back; to the others it builds an identity reply.
local SENT_BACK = { [ECHO] = true, [RESET_NETWORK] = true, [RESTORE] = true }
-- These are for every panel that hears them; the others name one by its MAC address.
local FOR_ALL = { [DISCOVER] = true, [ECHO] = true }

local f = {
    magic = ProtoField.bytes("mvdp.magic", "Magic"),
    version = ProtoField.uint8("mvdp.version", "Protocol version"),
    type = ProtoField.uint8("mvdp.type", "Packet type", base.DEC, TYPES),
    command = ProtoField.uint8("mvdp.command", "Command", base.DEC, COMMANDS),
    tag = ProtoField.uint8("mvdp.tag", "Tag", base.HEX, nil, nil, "Chosen by the tool, comes back"),
    address = ProtoField.ipv4("mvdp.address", "IPv4 address"),
    netmask = ProtoField.ipv4("mvdp.netmask", "Netmask"),
    gateway = ProtoField.ipv4("mvdp.gateway", "Gateway"),
    mac = ProtoField.ether("mvdp.mac", "MAC address"),
    identity = ProtoField.bytes("mvdp.identity", "Fixed identity"),
    identity1 = ProtoField.uint16("mvdp.identity.1", "First number"),
    identity2 = ProtoField.uint16("mvdp.identity.2", "Second number"),
    identity3 = ProtoField.uint16("mvdp.identity.3", "Third number"),
    reserved32 = ProtoField.bytes("mvdp.reserved32", "Reserved 32"),
    partition = ProtoField.uint32("mvdp.partition", "Partition version", base.HEX),
    partition_w = ProtoField.uint8("mvdp.partition.ww", "WW"),
    partition_x = ProtoField.uint8("mvdp.partition.xxx", "XXX"),
    partition_y = ProtoField.uint8("mvdp.partition.yy", "YY"),
    partition_z = ProtoField.uint8("mvdp.partition.z", "Z"),
    reserved38 = ProtoField.bytes("mvdp.reserved38", "Reserved 38"),
    fixed = ProtoField.uint32("mvdp.fixed", "Fixed bytes 40", base.DEC),
    description = ProtoField.string("mvdp.description", "Description"),
    reserved108 = ProtoField.bytes("mvdp.reserved108", "Reserved 108"),
    reserved140 = ProtoField.bytes("mvdp.reserved140", "Reserved 108, from 140"),
    payload = ProtoField.bytes("mvdp.payload", "Payload"),
    unused = ProtoField.bytes("mvdp.unused", "Without meaning here"),
    cut = ProtoField.bytes("mvdp.cut", "Cut field"),
    excess = ProtoField.bytes("mvdp.excess", "Beyond 256 bytes"),
    stale = ProtoField.bytes("mvdp.stale", "Stale bytes"),
    -- One of these two, so that each can be a filter by itself.
    request = ProtoField.bool("mvdp.request", "Sent by a tool"),
    reply = ProtoField.bool("mvdp.reply", "Sent by a panel"),
    response_in = ProtoField.framenum("mvdp.response_in", "Response in", base.NONE, frametype.RESPONSE),
    request_in = ProtoField.framenum("mvdp.request_in", "Request in", base.NONE, frametype.REQUEST),
    response_time = ProtoField.relative_time("mvdp.response_time", "Response time"),
}
mvdp.fields = f

local function note(name, text, group, severity)
    return ProtoExpert.new("mvdp.expert." .. name, text, expert.group[group], expert.severity[severity])
end
local e = {
    bad_header = note("bad_header", "Not an MVDP header", "PROTOCOL", "WARN"),
    bad_version = note("bad_version", "Unexpected protocol version", "PROTOCOL", "WARN"),
    bad_type = note("bad_type", "Unexpected packet type", "PROTOCOL", "WARN"),
    bad_command = note("bad_command", "Unknown command", "PROTOCOL", "WARN"),
    too_short = note("too_short", "Shorter than 256 bytes", "PROTOCOL", "WARN"),
    too_long = note("too_long", "Longer than 256 bytes", "PROTOCOL", "WARN"),
    not_applied = note("not_applied", "The panel could not apply the settings", "RESPONSE_CODE", "WARN"),
    not_in_force = note("not_in_force", "Accepted, not in force", "RESPONSE_CODE", "NOTE"),
    stale = note("stale", "Stale bytes", "PROTOCOL", "NOTE"),
    fixed = note("fixed", "Not the bytes of an identity reply", "PROTOCOL", "NOTE"),
}
mvdp.experts = e

mvdp.prefs.port = Pref.uint("UDP port", PORT, "The port on which panels listen")
mvdp.prefs.report_foreign = Pref.bool("Report datagrams without an MVDP header", true,
    "Whether a datagram on the port whose first bytes are not those of MVDP is shown as bad MVDP")

local udp_ports, registered = DissectorTable.get("udp.port"), nil

-- Bytes ---------------------------------------------------------------------------------------------------

-- The captured bytes from `first` up to, without, `behind`; nil when there are none.
local function part(tvb, first, behind)
    local last = math.min(behind, tvb:len())
    return last > first and tvb(first, last - first) or nil
end

-- The captured bytes as a Lua string, perhaps shorter than asked for.
local function raw(tvb, first, behind)
    local range = part(tvb, first, behind)
    return range and range:raw() or ""
end

-- Latin-1 up to the first zero, as UTF-8. Control characters become visible: none may reach a terminal.
local function clean_text(bytes)
    return (bytes:match("^[^\0]*"):gsub("[%c\x80-\xff]", function(character)
        local code = character:byte()
        if code < 0xA0 then
            return string.format("\\x%02x", code)
        end
        return string.char(0xC0 + math.floor(code / 64), 0x80 + code % 64)
    end))
end

-- Addresses travel with their last octet first.
local function address_text(range)
    return string.format("%d.%d.%d.%d", range(3, 1):uint(), range(2, 1):uint(), range(1, 1):uint(),
        range(0, 1):uint())
end

local function mac_text(bytes)
    return (bytes:gsub(".", function(octet) return string.format("%02x:", octet:byte()) end):sub(1, -2))
end

-- "/24", or " netmask 255.0.255.0" for one with holes.
local function netmask_text(range)
    local host_part = 0xFFFFFFFF - range:le_uint()
    local length, size = 32, 1
    while size <= host_part do
        length, size = length - 1, size * 2
    end
    if size - 1 == host_part then
        return "/" .. length
    end
    return " netmask " .. address_text(range)
end

-- The fields ----------------------------------------------------------------------------------------------

-- Adds a field that is captured whole. What is left of one that is not is shown as cut.
local function add(tree, field, tvb, offset, size, encoding)
    local range = part(tvb, offset, offset + size)
    if range and range:len() == size then
        return tree:add_packet_field(field, range, encoding or ENC_BIG_ENDIAN), range
    elseif range then
        tree:add(f.cut, range):append_text(string.format(" (%d of %d bytes)", range:len(), size))
    end
end

local function add_identity(tree, tvb)
    local item = add(tree, f.identity, tvb, 26, 6)
    if item then
        add(item, f.identity1, tvb, 26, 2, ENC_LITTLE_ENDIAN)
        add(item, f.identity2, tvb, 28, 2, ENC_LITTLE_ENDIAN)
        add(item, f.identity3, tvb, 30, 2, ENC_LITTLE_ENDIAN)
    end
end

-- The version text WWXXXYYZ became WW << 24 | XXX << 16 | YY << 8 | Z. XXX goes up to 999, so its upper two
-- bits may stand in WW's byte and cannot be told from WW's own there: every XXX that fits is named.
local function add_partition(tree, tvb)
    local item, range = add(tree, f.partition, tvb, 34, 4, ENC_LITTLE_ENDIAN)
    if not item then
        return
    end
    if range:le_uint() == 0 then
        item:append_text(" (unknown)")
        return
    end
    local w, x, y, z = range(3, 1):uint(), range(2, 1):uint(), range(1, 1):uint(), range(0, 1):uint()
    item:append_text(string.format(" (%d.%d.%d.%d)", w, x, y, z))
    local w_item = item:add(f.partition_w, range(3, 1))
    local x_item = item:add(f.partition_x, range(2, 1))
    item:add(f.partition_y, range(1, 1))
    item:add(f.partition_z, range(0, 1))
    local alternatives = {}
    for upper = 1, 3 do
        local fits = upper == 3 and w % 4 == 3 or upper < 3 and math.floor(w / upper) % 2 == 1
        if fits and x + upper * 256 <= 999 then
            table.insert(alternatives, tostring(x + upper * 256))
        end
    end
    if #alternatives > 0 then
        w_item:append_text(" (may hold upper bits of XXX)")
        x_item:append_text(" (or " .. table.concat(alternatives, " or ") .. ")")
    end
end

local function add_description(tree, tvb)
    local range = part(tvb, 44, 108)
    if range then
        tree:add(f.description, range, clean_text(range:raw()))
    end
end

local function add_bytes(tree, field, tvb, first, behind)
    local range = part(tvb, first, behind)
    if range then
        tree:add(field, range)
    end
end

local function add_settings(tree, tvb)
    add(tree, f.address, tvb, 8, 4, ENC_LITTLE_ENDIAN)
    add(tree, f.netmask, tvb, 12, 4, ENC_LITTLE_ENDIAN)
    add(tree, f.gateway, tvb, 16, 4, ENC_LITTLE_ENDIAN)
end

local function add_identity_reply(tree, tvb)
    add_settings(tree, tvb)
    add(tree, f.mac, tvb, 20, 6)
    add_identity(tree, tvb)
    add_bytes(tree, f.reserved32, tvb, 32, 34)
    add_partition(tree, tvb)
    add_bytes(tree, f.reserved38, tvb, 38, 40)
    add(tree, f.fixed, tvb, 40, 4, ENC_LITTLE_ENDIAN)
    add_description(tree, tvb)
    add_bytes(tree, f.reserved108, tvb, 108, 140)
    add_bytes(tree, f.reserved140, tvb, 140, SIZE)
end

-- Requests, and the replies that are the request sent back.
local function add_request(tree, tvb, command)
    if command == ECHO or not COMMANDS[command] then
        add_bytes(tree, f.payload, tvb, HEADER, SIZE)
        return
    end
    if command == DISCOVER then
        add_bytes(tree, f.unused, tvb, HEADER, SIZE)
        return
    end
    if command == SET_ADDRESS then
        add_settings(tree, tvb)
    else
        add_bytes(tree, f.unused, tvb, HEADER, 20)
    end
    add(tree, f.mac, tvb, 20, 6)
    add_bytes(tree, f.unused, tvb, 26, SIZE)
end

-- What came before -----------------------------------------------------------------------------------------

-- Of requests with the same key only this many are looked at, and none that is older than this: a panel that
-- waits for its platform service takes its time, but not longer. No more responses are listed with a request.
local MOST_PENDING, LONGEST_WAIT, MOST_RESPONSES = 64, 120, 1000

local pending = {} -- key -> requests that may still be answered, oldest first
local links = {}   -- frame number -> its request, or its responses

function mvdp.init()
    pending, links = {}, {}
end

local FIRST_GROUP, LAST_GROUP = Address.ip("224.0.0.0"), Address.ip("239.255.255.255")
local EVERYBODY, EVERY_LINK = Address.ip("255.255.255.255"), Address.ether("ff:ff:ff:ff:ff:ff")

-- Whether a datagram went to more than one machine. A subnet's broadcast address shows in the address below it,
-- where the capture has that.
local function is_for_many(pinfo)
    local to = pinfo.dst
    return to == EVERYBODY or FIRST_GROUP <= to and to <= LAST_GROUP or pinfo.dl_dst == EVERY_LINK
        or tostring(to):find("%.255$") ~= nil
end

-- Addresses are kept as objects: what they look like as text may change with name resolution.
local function new_packet(tvb, pinfo, header)
    local packet = {
        frame = pinfo.number, time = pinfo.rel_ts, length = tvb:reported_len(),
        source = pinfo.src, destination = pinfo.dst, to_many = is_for_many(pinfo), source_port = pinfo.src_port,
        destination_port = pinfo.dst_port, command = header.command, tag = header.tag,
        mac = raw(tvb, 20, 26), settings = raw(tvb, 8, 20),
    }
    if SENT_BACK[header.command] then
        packet.bytes = raw(tvb, 6, SIZE)
    end
    return packet
end

local function key_of(port, packet, mac)
    return table.concat({ port, packet.command, packet.tag, mac }, "/")
end

local function same_beginning(one, other)
    local length = math.min(#one, #other)
    return one:sub(1, length) == other:sub(1, length)
end

-- Whether the panel that sent this reply has already answered the request.
local function has_answered(reply, request)
    for _, source in ipairs(request.answered_by[reply.mac] or {}) do
        if source == reply.source then
            return true
        end
    end
    return false
end

-- A reply by broadcast or to the group goes to the asker's port like any other. Its source may be an address
-- that the panel did not have when it was asked, so that counts only where no MAC address tells more.
local function answers(reply, request)
    return math.abs(reply.time - request.time) <= LONGEST_WAIT
        and (reply.to_many or reply.destination == request.source)
        and (not FOR_ALL[reply.command] or request.to_many or request.destination == reply.source)
        and (not request.bytes or same_beginning(request.bytes, reply.bytes))
        and not has_answered(reply, request)
end

local function find_request(reply)
    -- A request that ended before its MAC address was completed by the panel: any MAC may answer it.
    for _, mac in ipairs(FOR_ALL[reply.command] and { "" } or { reply.mac, "?" }) do
        local requests = pending[key_of(reply.destination_port, reply, mac)] or {}
        for index = #requests, 1, -1 do
            if answers(reply, requests[index]) then
                return requests[index]
            end
        end
    end
end

local function remember_request(packet)
    local mac = FOR_ALL[packet.command] and "" or #packet.mac == 6 and packet.mac or "?"
    local key = key_of(packet.source_port, packet, mac)
    pending[key] = pending[key] or {}
    packet.answered_by, packet.responses = {}, {}
    table.insert(pending[key], packet)
    if #pending[key] > MOST_PENDING then
        table.remove(pending[key], 1)
    end
    links[packet.frame] = { responses = packet.responses }
end

local function remember_reply(packet, request)
    if #request.responses < MOST_RESPONSES then
        table.insert(request.responses, packet.frame)
        request.answered_by[packet.mac] = request.answered_by[packet.mac] or {}
        table.insert(request.answered_by[packet.mac], packet.source)
    end
    links[packet.frame] = { request = request, time = packet.time - request.time }
end

-- A panel leaves the type of an echo as it came, so the ports tell who speaks; where they don't, an earlier
-- datagram with the same bytes from the other side does.
local function is_reply(header, packet)
    if header.type ~= REQUEST or header.command ~= ECHO then
        return header.type == REPLY or header.type == NOT_APPLIED
    end
    local from_panel, to_panel = packet.source_port == registered, packet.destination_port == registered
    if from_panel ~= to_panel then
        return from_panel
    end
    local request = find_request(packet)
    return request ~= nil and not (request.source == packet.source)
end

-- Matches each datagram once, in the order of the capture; later looks at a frame find it in `links`.
local function link_up(tvb, pinfo, header)
    local packet = new_packet(tvb, pinfo, header)
    local from_panel = is_reply(header, packet)
    local request = from_panel and find_request(packet)
    if request then
        remember_reply(packet, request)
    elseif not from_panel and header.type == REQUEST and header.version >= 2 and COMMANDS[header.command] then
        remember_request(packet)
    end
    links[packet.frame] = links[packet.frame] or {}
    links[packet.frame].from_panel = from_panel
end

local function add_link(tree, link)
    for _, frame in ipairs(link.responses or {}) do
        tree:add(f.response_in, frame):set_generated()
    end
    if link.request then
        tree:add(f.request_in, link.request.frame):set_generated()
        if link.time >= 0 then
            local seconds = math.floor(link.time)
            local time = NSTime.new(seconds, math.floor((link.time - seconds) * 1e9 + 0.5))
            tree:add(f.response_time, time):set_generated()
        end
    end
end

-- What is wrong with it ------------------------------------------------------------------------------------

local function check_header(items, header, from_panel)
    local identity = from_panel and not SENT_BACK[header.command]
    if header.version < 2 then
        items.version:add_proto_expert_info(e.bad_version, "Protocol version below 2: panels drop it")
    elseif identity and header.version ~= 4 then
        items.version:add_proto_expert_info(e.bad_version, "Protocol version not 4, as in every identity reply")
    end
    if not TYPES[header.type] then
        items.type:add_proto_expert_info(e.bad_type, "Unknown packet type: panels drop it")
    elseif header.type == NOT_APPLIED and header.command == SET_ADDRESS then
        items.type:add_proto_expert_info(e.not_applied)
    elseif header.type == NOT_APPLIED then
        items.type:add_proto_expert_info(e.bad_type, "Type 3 answers only command 5")
    elseif header.type == REPLY and header.command == ECHO then
        items.type:add_proto_expert_info(e.bad_type, "An echo comes back with type 1")
    end
    if not COMMANDS[header.command] then
        items.command:add_proto_expert_info(e.bad_command, "Unknown command: panels drop it")
    end
end

local function check_length(item, length, from_panel)
    if length < SIZE then
        item:add_proto_expert_info(e.too_short, string.format(from_panel
            and "Too short: %d bytes, and panels send 256"
            or "Too short: %d of 256 bytes; a panel completes it with what an earlier datagram left behind", length))
    elseif length > SIZE then
        item:add_proto_expert_info(e.too_long, string.format(from_panel
            and "Too long: %d bytes, and panels send 256"
            or "Too long: of %d bytes a panel takes the first 256", length))
    end
end

-- Marks what stands between the first and the last byte that is not zero.
local function mark_stale(tree, tvb, first, behind, reason)
    local bytes = raw(tvb, first, behind)
    local before = #bytes:match("^\0*")
    if before < #bytes then
        local size = #bytes:match("^(.*[^\0])") - before
        local from = first + before
        local where = size == 1 and "byte " .. from or string.format("bytes %d to %d", from, from + size - 1)
        tree:add(f.stale, tvb(from, size)):set_generated():add_proto_expert_info(e.stale,
            string.format("Stale %s: %s", where, reason))
    end
end

-- A panel writes every byte of an identity reply but packet type, command and tag, so that nothing else of the
-- request can be left in it.
local function check_identity_reply(tree, tvb)
    local reason = "an identity reply has zeros here"
    local text_ends = raw(tvb, 44, 108):find("\0", 1, true)
    mark_stale(tree, tvb, 32, 34, reason)
    mark_stale(tree, tvb, 38, 40, reason)
    if text_ends then
        mark_stale(tree, tvb, 44 + text_ends, 108, reason)
    end
    mark_stale(tree, tvb, 108, SIZE, reason)
    if not same_beginning(raw(tvb, 26, 32), "\x58\x02\x0f\x27\x8d\x01") or
        not same_beginning(raw(tvb, 40, 44), "\x00\x00\x02\x00") then
        tree:add_proto_expert_info(e.fixed)
    end
end

-- Requests, and the replies that are the request sent back, where the link tells whose the bytes are.
local function check_request(tree, tvb, command, from_panel, link)
    if link.request then
        mark_stale(tree, tvb, link.request.length, SIZE, string.format(
            "the request in frame %d had %d bytes; an earlier datagram left these in the panel's buffer",
            link.request.frame, link.request.length))
        return
    end
    if command == ECHO or not COMMANDS[command] then
        return
    end
    local reason = from_panel and "without meaning here; the request's own, or left of an earlier datagram"
        or "without meaning here, perhaps left of an earlier datagram; panels ignore them"
    if command ~= DISCOVER then
        if command ~= SET_ADDRESS then
            mark_stale(tree, tvb, HEADER, 20, reason)
        end
        mark_stale(tree, tvb, 26, SIZE, reason)
    else
        mark_stale(tree, tvb, HEADER, SIZE, reason)
    end
end

-- The line in the packet list ------------------------------------------------------------------------------

local function settings_text(tvb)
    return string.format("%s%s gateway %s", address_text(tvb(8, 4)), netmask_text(tvb(12, 4)),
        address_text(tvb(16, 4)))
end

local function summary(tvb, header, from_panel)
    local name = COMMANDS[header.command] or string.format("Unknown command %d", header.command)
    local words = { name, from_panel and "reply" or TYPES[header.type] and "request" or
        string.format("of unknown type %d", header.type) }
    if header.type == NOT_APPLIED then
        table.insert(words, "NOT APPLIED")
    end
    local identity = from_panel and not SENT_BACK[header.command]
    if identity and tvb:len() >= 26 then
        table.insert(words, address_text(tvb(8, 4)))
    end
    if (identity or COMMANDS[header.command] and not FOR_ALL[header.command]) and tvb:len() >= 26 then
        table.insert(words, mac_text(raw(tvb, 20, 26)))
    end
    local description = identity and clean_text(raw(tvb, 44, 108)) or ""
    if description ~= "" then
        table.insert(words, description)
    elseif header.command == SET_ADDRESS and not from_panel and tvb:len() >= 20 then
        table.insert(words, "to " .. settings_text(tvb))
    end
    return table.concat(words, " ")
end

local function length_text(length)
    return length < SIZE and string.format(" [too short: %d bytes]", length)
        or length > SIZE and string.format(" [too long: %d bytes]", length) or ""
end

-- Who answered ---------------------------------------------------------------------------------------------

-- What the statistics take from the frame that was dissected last: nil unless a panel says there who it is.
local answer

-- Of the replies that are the request sent back, only an echo does not tell whose it is.
local function remember_answer(tvb, pinfo, header)
    if header.command == ECHO or tvb:len() < 26 then
        return
    end
    local identity = not SENT_BACK[header.command]
    local description = identity and clean_text(raw(tvb, 44, 108)) or ""
    answer = {
        frame = pinfo.number, time = pinfo.abs_ts, source = tostring(pinfo.src), mac = mac_text(raw(tvb, 20, 26)),
        address = identity and address_text(tvb(8, 4)) or nil,
        description = description ~= "" and description or nil,
    }
end

local NO_MAC = "00:00:00:00:00:00"
local STATISTICS, PANELS = "mvdp,panels", "MVDP panels"

-- One line for each panel, in the order of their MAC addresses.
local function panel_table(panels)
    local order = {}
    for _, panel in pairs(panels) do
        table.insert(order, panel)
    end
    table.sort(order, function(one, other)
        return one.mac .. one.source < other.mac .. other.source
    end)
    local rows = { { "MAC address", "IPv4 address", "Source", "Last answer", "Frame", "Description" } }
    for _, panel in ipairs(order) do
        table.insert(rows, { panel.mac, panel.address, panel.source,
            os.date("%Y-%m-%d %H:%M:%S", math.floor(panel.time)), tostring(panel.frame), panel.description })
    end
    local widths, lines = {}, {}
    for _, row in ipairs(rows) do
        for column, text in ipairs(row) do
            widths[column] = math.max(widths[column] or 0, #text)
        end
    end
    for _, row in ipairs(rows) do
        for column = 1, #row - 1 do
            row[column] = row[column] .. string.rep(" ", widths[column] - #row[column])
        end
        table.insert(lines, table.concat(row, "  ") .. "\n")
    end
    return table.concat(lines)
end

-- Collects the panels' answers, of those frames that the filter, if any, fits. `show` is called with the table.
local function collect_panels(filter, show)
    local tap = Listener.new(nil, filter and "mvdp.reply && (" .. filter .. ")" or "mvdp.reply")
    local panels = {}
    function tap.packet(pinfo)
        if not answer or answer.frame ~= pinfo.number then
            return
        end
        -- Panels that cannot read their MAC address are told apart by where their answers come from.
        local key = answer.mac == NO_MAC and answer.source or answer.mac
        local before = panels[key] or {}
        panels[key] = {
            mac = answer.mac, source = answer.source, frame = answer.frame, time = answer.time,
            address = answer.address or before.address or "-",
            description = answer.description or before.description or "-",
        }
    end
    function tap.draw()
        show(panel_table(panels))
    end
    function tap.reset()
        panels = {}
    end
    return tap
end

local function open_window(filter)
    local window = TextWindow.new(PANELS)
    local tap = collect_panels(filter, function(text) window:set(text) end)
    window:set_atclose(function() tap:remove() end)
    retap_packets()
end

local function print_panels(filter)
    collect_panels(filter, function(text) io.write(PANELS, "\n", text) end)
end

-- tshark -z mvdp,panels[,FILTER]
register_stat_cmd_arg(STATISTICS, function(argument)
    local filter = argument and argument:sub(#STATISTICS + 2) or ""
    local show = gui_enabled() and open_window or print_panels
    local good, problem = pcall(show, filter ~= "" and filter or nil)
    if not good then
        io.stderr:write(STATISTICS, ": ", tostring(problem), "\n")
    end
end)
if gui_enabled() then
    register_menu(PANELS, function() open_window() end, MENU_STAT_UNSORTED)
end

-- A whole datagram -----------------------------------------------------------------------------------------

local function begin(tvb, pinfo, tree, info)
    pinfo.cols.protocol:set("MVDP")
    pinfo.cols.info:set(info)
    local root = tree:add(mvdp, tvb())
    root:append_text(", " .. info)
    return root
end

-- Less than a header, or another magic.
local function dissect_bad(tvb, pinfo, tree, good_magic)
    local length = length_text(tvb:reported_len())
    local root = begin(tvb, pinfo, tree, (good_magic and "Incomplete header" or "Bad header") .. length)
    local item = root:add(f.magic, part(tvb, 0, 4))
    add_bytes(root, f.payload, tvb, 4, tvb:len())
    if good_magic then
        check_length(root, tvb:reported_len(), false)
    else
        item:add_proto_expert_info(e.bad_header, "Not an MVDP header: it begins otherwise, and panels drop it")
    end
end

local function dissect_good(tvb, pinfo, tree)
    local header = { version = tvb(4, 1):uint(), type = tvb(5, 1):uint(), command = tvb(6, 1):uint(),
        tag = tvb(7, 1):uint() }
    -- An ICMP error quotes a datagram, perhaps not all of it; nobody sent it again.
    local quoted = pinfo.in_error_pkt
    if quoted then
        links[pinfo.number] = { from_panel = is_reply(header, new_packet(tvb, pinfo, header)) }
    elseif not pinfo.visited or not links[pinfo.number] then
        link_up(tvb, pinfo, header)
    end
    local link = links[pinfo.number]
    if link.from_panel and not quoted then
        remember_answer(tvb, pinfo, header)
    end
    local length = quoted and SIZE or tvb:reported_len()
    local root = begin(tvb, pinfo, tree, summary(tvb, header, link.from_panel) .. length_text(length))
    if link.from_panel or header.type == REQUEST then
        root:add(link.from_panel and f.reply or f.request, true):set_generated()
    end
    root:add(f.magic, tvb(0, 4))
    local items = { version = root:add(f.version, tvb(4, 1)), type = root:add(f.type, tvb(5, 1)),
        command = root:add(f.command, tvb(6, 1)) }
    root:add(f.tag, tvb(7, 1))

    check_header(items, header, link.from_panel)
    check_length(root, length, link.from_panel)
    if link.from_panel and not SENT_BACK[header.command] then
        add_identity_reply(root, tvb)
        check_identity_reply(root, tvb)
        if header.type == REPLY and link.request and link.request.command == SET_ADDRESS and
            not same_beginning(link.request.settings, raw(tvb, 8, 20)) then
            root:add_proto_expert_info(e.not_in_force, "Accepted, but the settings asked for are not in force (yet)")
        end
    else
        add_request(root, tvb, header.command)
        check_request(root, tvb, header.command, link.from_panel, link)
    end
    add_bytes(root, f.excess, tvb, SIZE, tvb:len())
    add_link(root, link)
end

function mvdp.dissector(tvb, pinfo, tree)
    local magic = raw(tvb, 0, 4)
    local good_magic = same_beginning(magic, MAGIC)
    if magic == "" or not good_magic and not mvdp.prefs.report_foreign then
        return 0
    elseif good_magic and tvb:len() >= HEADER then
        dissect_good(tvb, pinfo, tree)
    else
        dissect_bad(tvb, pinfo, tree, good_magic)
    end
    return tvb:len()
end

-- On any other port only what no panel and no tool would have to doubt.
local function dissect_elsewhere(tvb, pinfo, tree)
    if tvb:len() < HEADER or raw(tvb, 0, 4) ~= MAGIC or tvb(4, 1):uint() < 2 or
        not TYPES[tvb(5, 1):uint()] or not COMMANDS[tvb(6, 1):uint()] then
        return false
    end
    dissect_good(tvb, pinfo, tree)
    return true
end

local function register_port()
    if registered then
        udp_ports:remove(registered, mvdp)
    end
    registered = mvdp.prefs.port
    if registered < 1 or registered > 65535 then
        registered = PORT
    end
    udp_ports:add(registered, mvdp)
end

register_port()
mvdp.prefs_changed = register_port
mvdp:register_heuristic("udp", dissect_elsewhere)
