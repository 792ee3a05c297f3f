-- What Wireshark shows.

local protocol = Proto("ciapi", "CI daemon")
set_plugin_info({version = TABLES.version, description = "TV applications and their CI daemon"})

protocol.prefs.show_secrets = Pref.bool("Show secrets", false, "Show PINs and what viewers type, which are *** otherwise")

local malformed = ProtoExpert.new("ciapi.malformed", "Malformed", expert.group.MALFORMED, expert.severity.ERROR)
local unknown = ProtoExpert.new("ciapi.unknown", "Unknown", expert.group.UNDECODED, expert.severity.WARN)
local refused = ProtoExpert.new("ciapi.refused", "Refused", expert.group.RESPONSE_CODE, expert.severity.WARN)
protocol.experts = {malformed, unknown, refused}

local fields = {
    kind = ProtoField.string("ciapi.kind", "Kind"),
    operation = ProtoField.string("ciapi.operation", "Operation"),
    slot = ProtoField.uint8("ciapi.slot", "Slot"),
    process = ProtoField.uint32("ciapi.process", "Process"),
    program = ProtoField.string("ciapi.program", "Program"),
    oneWay = ProtoField.bool("ciapi.one_way", "One-way"),
    length = ProtoField.int32("ciapi.length", "Length of the payload"),
    status = ProtoField.uint8("ciapi.status", "Status", base.HEX),
    result = ProtoField.int64("ciapi.result", "Result"),
    signal = ProtoField.string("ciapi.signal", "Signal"),
    profile = ProtoField.string("ciapi.profile", "Profile"),
    handle = ProtoField.uint16("ciapi.handle", "Handle"),
    mark = ProtoField.string("ciapi.mark", "Mark"),
    error = ProtoField.string("ciapi.error", "Error"),
    request = ProtoField.framenum("ciapi.request_in", "Request in", base.NONE, frametype.REQUEST),
    response = ProtoField.framenum("ciapi.response_in", "Response in", base.NONE, frametype.RESPONSE),
    time = ProtoField.relative_time("ciapi.time", "Time since the request"),
}

-- The fields of arguments, of the members of objects and of the numbers of signals, by their names: whole numbers and
-- flags as such where all of one name are, everything else in words.
local CLASSES = {uint = ProtoField.uint64, int = ProtoField.int64, flag = ProtoField.bool, words = ProtoField.string}
local classes = {}

local function declare(name, class)
    class = CLASSES[class] and class or "words"
    classes[name] = classes[name] and classes[name] ~= class and "words" or class
end

local function classOf(typeName)
    local type = TABLES.types[typeName]
    return type.isHolder and classOf(type[1].type) or type.kind
end

for _, interface in pairs(TABLES.interfaces) do
    for _, operation in pairs(interface.operations) do
        for _, argument in ipairs(operation.arguments) do
            declare("arg." .. argument.name, not argument.isSecret and classOf(argument.type))
        end
    end
end
for _, type in pairs(TABLES.types) do
    for _, member in ipairs(type) do
        declare(type.name .. "." .. member.name, classOf(member.type))
    end
end
for _, signal in pairs(TABLES.signals) do
    for _, number in ipairs(signal) do
        declare("signal." .. number.key, not number.names and (number.isSigned and "int" or "uint"))
    end
end
for _, key in ipairs({"code", "id", "value"}) do
    declare("signal." .. key)
end
for name, class in pairs(classes) do
    fields[name] = CLASSES[class]("ciapi." .. name, name:match("[^.]*$"))
end
protocol.fields = fields

-- What is known of each call and its reply: by who called and the serial number while the call waits, and by the frames of
-- both.
local waiting, exchanges = {}, {}

function protocol.init()
    waiting, exchanges = {}, {}
end

-- What is said about one message: the line of the packet list, and the tree.
local Sheet = {}
Sheet.__index = Sheet

function Sheet.new(kind, tvb, tree)
    local sheet = setmetatable({whole = tvb(), tree = tree:add(protocol, tvb()), info = {}}, Sheet)
    sheet:add("kind", nil, kind)
    sheet:say(kind)
    return sheet
end

function Sheet:say(words)
    table.insert(self.info, words)
end

function Sheet:operation(name, range)
    self:add("operation", range, name)
    self:say(name)
end

-- Without bytes, it follows from other messages.
function Sheet:add(name, range, value)
    return range and self.tree:add(fields[name], range, value) or self.tree:add(fields[name], value):set_generated()
end

function Sheet:complain(range, text, kind)
    self:add("error", range or self.whole, text):add_proto_expert_info(kind or malformed, text)
    self:say("error=" .. shortened(text))
end

-- Shows a value and what it is made of. Elements of containers have no field.
local function show(tree, field, name, told)
    local item
    if field then
        item = tree:add(fields[field], told.range, classes[field] == "words" and told.words or told.value)
    else
        item = tree:add(told.range, "")
    end
    item:set_text(name .. ": " .. told.words)
    for _, part in ipairs(told.parts or {}) do
        show(item, part.field, part.name, part.told)
    end
end

-- Takes the payload, which may be left out, and compares it with its length. Gives it and its size.
function Sheet:payload(message, length, lengthRange)
    local payload = message:argument("ay")
    local size = payload and payload:len() or 0
    if length then
        self:add("length", lengthRange, length)
    end
    if length and math.max(length, 0) ~= size then
        self:complain(lengthRange, size .. " bytes, but a length of " .. length)
    end
    return payload, size
end

-- The root of the argument tree in a payload, and whether it is whole.
function Sheet:root(payload, isLittle)
    return readTree(payload, isLittle, function(range, text) self:complain(range, text) end)
end

-- Shows an argument of a call or its reply. Gives what is told; nothing when it is not there.
function Sheet:argument(argument, root, isLittle)
    local node = childOf(root, argument.tag)
    if node and argument.isSpread then
        node = childOf(root, argument.tag + 1) and root
    end
    if not node then
        return nil
    end
    local told = tell(argument.type, node, isLittle, argument.isSpread and argument.tag)
    if not told then
        self:complain(node:whole(), argument.name .. " is of another kind")
        return {}
    elseif argument.isSecret and not protocol.prefs.show_secrets then
        told = {words = "***", range = told.range}
    end
    show(self.tree, "arg." .. argument.name, argument.name, told)
    self:say(argument.name .. "=" .. shortened(told.words))
    return told
end

-- Shows the arguments that go one way. Gives what is told of each, by its name.
function Sheet:arguments(operation, direction, root, isLittle)
    local toldOf, isKnown = {}, {[0] = direction == "isOutput"}
    for _, argument in ipairs(operation.arguments) do
        if argument[direction] then
            toldOf[argument.name] = self:argument(argument, root, isLittle)
            isKnown[argument.tag] = true
            isKnown[argument.tag + 1] = argument.isSpread
        end
    end
    for _, node in ipairs(root.children) do
        if not isKnown[node.tag] then
            self:complain(node:whole(), "there is no argument " .. node.tag .. " here", unknown)
        end
    end
    return toldOf
end

local function hasBit(number, bit)
    return math.floor(number / bit) % 2 == 1
end

-- What is known of a call and its reply, which its frame and that of the reply share.
local function openExchange(message, pinfo)
    if not pinfo.visited then
        local exchange = {request = pinfo.number, sent = pinfo.rel_ts}
        exchanges[pinfo.number] = exchange
        if message.sender and not message.isNoReply then
            waiting[message.sender .. " " .. message.serial] = exchange
        end
    end
    return exchanges[pinfo.number]
end

local function closeExchange(message, pinfo)
    if not pinfo.visited and message.destination and message.replySerial then
        local key = message.destination .. " " .. message.replySerial
        local exchange = waiting[key]
        if exchange then
            waiting[key] = nil
            exchange.response = pinfo.number
            exchanges[pinfo.number] = exchange
        end
    end
    return exchanges[pinfo.number]
end

-- Shows the inputs of a call, and what is wrong with them.
local function tellRequest(sheet, operation, id, payload, isLittle)
    local root, isWhole = sheet:root(payload, isLittle)
    if not root then
        return nil
    elseif root.tag ~= id then -- the arguments of another operation, of which some may be secrets
        sheet:complain(root:whole(), "the argument tree is that of method " .. root.tag)
        return nil
    end
    local toldOf = sheet:arguments(operation, "isInput", root, isLittle)
    for _, argument in ipairs(operation.arguments) do
        if argument.isInput and isWhole and not toldOf[argument.name] then
            sheet:complain(root:whole(), argument.name .. " is missing")
        end
    end
    return toldOf.slot and tonumber(toldOf.slot.words)
end

local tellers = {} -- by the kind of a message: each gives a sheet, or nothing when it is none of the daemon's

function tellers.call(message, pinfo, newSheet)
    local interface = TABLES.interfaces[message.interface or message.destination]
    local exchange = interface and openExchange(message, pinfo)
    if not exchange then
        return nil
    end
    local sheet = newSheet("call")
    if exchange.response then
        sheet:add("response", nil, exchange.response)
    end
    if message.member ~= TABLES.callMember or message.path ~= TABLES.callPath then
        exchange.name = interface.name .. " " .. (message.path or "") .. " " .. (message.member or "")
        sheet:operation(exchange.name)
        sheet:complain(nil, "this is none of the daemon's calls", unknown)
        return sheet
    end
    local header, headerRange = message:signed()
    local length, lengthRange = message:signed()
    local process, processRange = message:signed()
    local id, flags = header and header % 0x10000 or -1, math.floor((header or 0) / 0x10000)
    local operation = interface.operations[id]
    exchange.operation = operation
    exchange.name = operation and operation.name or interface.name .. "." .. (header and id or "?")
    sheet:operation(exchange.name, headerRange)
    if not process then
        sheet:complain(nil, "the header is incomplete")
        return sheet
    end
    sheet:add("process", processRange, process % 2 ^ 32)
    if hasBit(flags, TABLES.oneWayFlag) then
        sheet:add("oneWay", headerRange, true)
        sheet:say("one-way")
    end
    local program = hasBit(flags, TABLES.helloFlag) and message:argument("s")
    if program then
        sheet:add("program", program, textOf(program))
    end
    local payload, size = sheet:payload(message, length, lengthRange)
    if not operation then
        sheet:complain(headerRange, "nobody knows this operation", unknown)
    elseif size == 0 then
        sheet:complain(nil, "there is no argument tree")
    else
        exchange.slot = tellRequest(sheet, operation, id, payload, message.isLittle)
        if exchange.slot then
            sheet:add("slot", nil, exchange.slot):set_hidden() -- as in the reply, for filters
        end
    end
    return sheet
end

-- Shows the result and the outputs of a reply.
local function tellReply(sheet, operation, payload, isLittle)
    local root = sheet:root(payload, isLittle)
    local node = root and childOf(root, 0)
    local told = node and tell(operation.result, node, isLittle)
    if told then
        local number = type(told.value) == "boolean" and (told.value and 1 or 0) or tonumber(tostring(told.value))
        local item = sheet:add("result", told.range, Int64(number)):set_text("result: " .. told.words)
        local isHandle = operation.result == "TSCICAMPlayerHandle" -- 0 is the first one
        if isHandle and number == 0xFFFF or not isHandle and number <= 0 then
            item:add_proto_expert_info(refused, "refused")
        end
        sheet:say("result=" .. told.words)
    elseif node then
        sheet:complain(node:whole(), "the result is of another kind")
    end
    if root then
        sheet:arguments(operation, "isOutput", root, isLittle)
    end
end

function tellers.reply(message, pinfo, newSheet)
    local exchange = closeExchange(message, pinfo)
    if not exchange then
        return nil
    end
    local sheet = newSheet("reply")
    local seconds = pinfo.rel_ts - exchange.sent
    sheet:operation(exchange.name)
    sheet:add("request", nil, exchange.request)
    sheet:add("time", nil, NSTime.new(math.floor(seconds), math.floor(seconds % 1 * 1e9 + 0.5)))
    if exchange.slot then
        sheet:add("slot", nil, exchange.slot)
    end
    if message.kind == "error" then
        local text = message:argument("s")
        sheet:complain(text, (message.errorName or "") .. ": " .. (text and textOf(text) or ""), refused)
        return sheet
    elseif not exchange.operation then
        return sheet -- nobody knows what it carries
    end
    local status = message:argument("y")
    local length, lengthRange = message:signed()
    local payload, size = sheet:payload(message, length, lengthRange)
    if not status or not length or not payload then
        sheet:complain(nil, "the reply is incomplete")
    end
    if status then
        local item = sheet:add("status", status, status:uint())
        item:append_text(hasBit(status:uint(), TABLES.helloWantedBit) and ", the next call has to say hello" or "")
        if not hasBit(status:uint(), TABLES.handledBit) then
            sheet:complain(status, "not handled", refused)
        end
    end
    if size > 0 then
        tellReply(sheet, exchange.operation, payload, message.isLittle)
    end
    return sheet
end
tellers.error = tellers.reply

local function tellMark(message, newSheet)
    local sheet = newSheet("mark")
    local range = message:argument("s")
    local text = range and textOf(range) or ""
    sheet:add("mark", range, text)
    sheet:say(text)
    return sheet
end

function tellers.signal(message, _, newSheet)
    if message.interface == TABLES.markInterface and message.member == TABLES.markMember then
        return tellMark(message, newSheet)
    elseif message.interface ~= TABLES.signalInterface then
        return nil
    end
    local sheet, isLittle = newSheet("signal"), message.isLittle
    local kind = TABLES.kinds[message.member] or TABLES.kinds.Signal
    local identifier = message:argument("s")
    local pipeline = kind.hasHandle and message:argument("s")
    local length, lengthRange = message:signed()
    local number = identifier and textOf(identifier) or ""
    local name = nameOf(TABLES.signalTypes, tonumber(number) or "") or "signal " .. number
    local signal = TABLES.signals[tonumber(number)] or {isUnknown = true}
    sheet:add("signal", identifier, name)
    sheet:say(name)
    local payload, size = sheet:payload(message, length, lengthRange)
    if not identifier or not length or not payload or kind.hasHandle and not pipeline then
        sheet:complain(nil, "the signal is incomplete")
    end
    if size < 16 then
        sheet:complain(payload, "its payload has " .. size .. " bytes, not 16")
        return sheet
    end
    local slot, profile, handle = payload(0, 1), payload(8, 4), payload(12, 2)
    local phrases = {}
    if slot:uint() ~= TABLES.noSlot then
        sheet:add("slot", slot, slot:uint())
    end
    for i, part in ipairs(tellNumbers(signal, payload(0, 8), isLittle)) do
        show(sheet.tree, "signal." .. part.key, part.key, part.told)
        phrases[i] = part.phrase
    end
    local profileNumber, handleNumber = signedOf(profile, isLittle), unsignedOf(handle, isLittle)
    sheet:add("profile", profile, nameOf(TABLES.profiles, profileNumber) or tostring(profileNumber))
    sheet:add("handle", handle, handleNumber)
    sheet:say(subjectOf(signal, profileNumber, handleNumber, slot:uint())
        .. (phrases[1] and ": " .. table.concat(phrases, ", ") or ""))
    local about = string.format("%.0f", profileNumber % 0x10000 * 0x10000 + handleNumber)
    if pipeline and textOf(pipeline) ~= about then
        sheet:complain(pipeline, "it is sent for the pipeline " .. textOf(pipeline) .. ", but is about " .. about)
    end
    return sheet
end

function protocol.dissector(tvb, pinfo, tree)
    local message = Message.read(tvb) -- not asked is whether Wireshark knows D-Bus here: it says so only where it has a tree
    local sheet = message and tellers[message.kind](message, pinfo, function(kind)
        return Sheet.new(kind, tvb, tree)
    end)
    if not sheet then
        return 0
    end
    pinfo.cols.protocol = "CI"
    pinfo.cols.info = table.concat(sheet.info, " ")
    sheet.tree:append_text(", " .. table.concat(sheet.info, " ", 1, 2))
    return tvb:len()
end

register_postdissector(protocol)
