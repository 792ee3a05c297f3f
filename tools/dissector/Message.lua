-- Messages of D-Bus. The bytes may be anybody's: whatever would reach past their end is not there. They are read as a string
-- of Lua: ranges of Wireshark cost more, and only what is shown needs one.

local function signedOf(range, isLittle)
    return isLittle and range:le_int() or range:int()
end

local function unsignedOf(range, isLittle)
    return isLittle and range:le_uint() or range:uint()
end

-- A number of 1, 2 or 4 bytes behind so many others.
local function numberAt(bytes, at, width, isLittle)
    local a, b, c, d = bytes:byte(at + 1, at + width)
    if width == 1 then
        return a
    elseif width == 2 then
        return isLittle and a + b * 0x100 or a * 0x100 + b
    end
    return isLittle and a + b * 0x100 + c * 0x10000 + d * 0x1000000 or a * 0x1000000 + b * 0x10000 + c * 0x100 + d
end

local WIDTHS = {y = 1, b = 4, n = 2, q = 2, i = 4, u = 4, x = 8, t = 8, d = 8}
local LENGTH_WIDTHS = {s = 4, o = 4, g = 1, ay = 4}

-- The fields of a head that count here, by their codes.
local HEAD_FIELDS = {"path", "interface", "member", "errorName", "replySerial", "destination", "sender", "signature"}
local KINDS = {"call", "reply", "error", "signal"}

local Message = {}
Message.__index = Message

-- Where the next bytes begin, which stand where a number of some width may; nothing when they are not all there.
function Message:take(size, width)
    local at = self.at + -self.at % width
    self.at = math.min(at + size, self.last)
    return at + size <= self.last and at or nil
end

function Message:number(width)
    local at = self:take(width, width)
    return at and numberAt(self.bytes, at, width, self.isLittle)
end

-- Where the next value of a type is, and its size; nothing when it is not there, or its type is none of those in use here.
function Message:value(type)
    if WIDTHS[type] then
        return self:take(WIDTHS[type], WIDTHS[type]), WIDTHS[type]
    end
    local size = LENGTH_WIDTHS[type] and self:number(LENGTH_WIDTHS[type])
    local at = size and self:take(size, 1)
    return at and (type == "ay" or self:take(1, 1)) and at, size -- a zero stands behind a text
end

-- The message that a packet is; nothing when it is none.
function Message.read(tvb)
    if tvb:len() < 16 then
        return nil
    end
    local bytes = tvb:raw()
    local order, kind, flags, version = bytes:byte(1, 4)
    if version ~= 1 or not KINDS[kind] or (order ~= 0x6c and order ~= 0x42) then -- 'l' and 'B'
        return nil
    end
    local message = setmetatable({tvb = tvb, bytes = bytes, at = 4, last = #bytes, isLittle = order == 0x6c,
                                  kind = KINDS[kind], isNoReply = flags % 2 == 1, signature = ""}, Message)
    local bodySize = message:number(4)
    message.serial = message:number(4)
    local headEnd = math.min(16 + message:number(4), #bytes)
    message.last = headEnd
    while message:take(0, 8) and message.at < headEnd do
        local field = HEAD_FIELDS[message:number(1)]
        local typeAt, typeSize = message:value("g")
        local type = typeAt and bytes:sub(typeAt + 1, typeAt + typeSize)
        local at, size = message:value(type)
        if not at then
            break
        elseif field == "replySerial" then
            message.replySerial = type == "u" and numberAt(bytes, at, 4, message.isLittle) or nil
        elseif field then
            message[field] = bytes:sub(at + 1, at + size)
        end
    end
    message.at = headEnd + -headEnd % 8
    message.last = math.min(message.at + bodySize, #bytes)
    return message
end

-- The next argument, as its bytes; nothing when it has another type.
function Message:argument(wanted)
    local type = self.signature:match("^ay") or self.signature:sub(1, 1)
    self.signature = self.signature:sub(#type + 1)
    local at, size = self:value(type)
    if not at then
        self.signature = "" -- nobody knows where the next one begins
    end
    return at and type == wanted and self.tvb(at, size) or nil
end

function Message:signed()
    local range = self:argument("i")
    return range and signedOf(range, self.isLittle), range
end
