-- Messages of D-Bus. The bytes may be anybody's: whatever would reach past their end is not there.

local function signedOf(range, isLittle)
    return isLittle and range:le_int() or range:int()
end

local function unsignedOf(range, isLittle)
    return isLittle and range:le_uint() or range:uint()
end

-- What is read one behind the other.
local Cursor = {}
Cursor.__index = Cursor

function Cursor.new(bytes, at, last, isLittle)
    return setmetatable({bytes = bytes, at = at, last = last, isLittle = isLittle}, Cursor)
end

-- The next bytes, which stand where a number of some width may; nothing when they are not all there.
function Cursor:take(size, width)
    local at = self.at + -self.at % (width or 1)
    if at + size > self.last then
        self.at = self.last
        return nil
    end
    self.at = at + size
    return self.bytes(at, size)
end

function Cursor:number(width)
    local range = self:take(width, width)
    return range and unsignedOf(range, self.isLittle), range
end

-- What has its length in front of it.
function Cursor:counted(width, behind)
    local size = self:number(width)
    local range = size and self:take(size)
    return range and self:take(behind) and range
end

local WIDTHS = {y = 1, b = 4, n = 2, q = 2, i = 4, u = 4, x = 8, t = 8, d = 8}
local LENGTH_WIDTHS = {s = 4, o = 4, g = 1}

-- A value of a type, as its bytes; nothing when they are not there, or when the type is none of those in use here.
function Cursor:value(type)
    if WIDTHS[type] then
        return self:take(WIDTHS[type], WIDTHS[type])
    elseif LENGTH_WIDTHS[type] then
        return self:counted(LENGTH_WIDTHS[type], 1) -- a zero stands behind a text
    elseif type == "ay" then
        return self:counted(4, 0)
    end
end

-- The fields of a head that count here, by their codes.
local HEAD_FIELDS = {"path", "interface", "member", "errorName", "replySerial", "destination", "sender", "signature"}
local KINDS = {"call", "reply", "error", "signal"}

local Message = {}
Message.__index = Message

-- The message that a packet is; nothing when it is none.
function Message.read(tvb)
    if tvb:len() < 16 or tvb(3, 1):uint() ~= 1 then
        return nil
    end
    local order = tvb(0, 1):uint()
    local kind = KINDS[tvb(1, 1):uint()]
    if not kind or (order ~= 0x6c and order ~= 0x42) then -- 'l' and 'B'
        return nil
    end
    local isLittle = order == 0x6c
    local message = setmetatable({kind = kind, isLittle = isLittle, signature = "",
                                  isNoReply = tvb(2, 1):uint() % 2 == 1}, Message)
    local head = Cursor.new(tvb, 4, tvb:len(), isLittle)
    local bodySize = head:number(4)
    message.serial = head:number(4)
    head.last = math.min(head.at + 4 + head:number(4), tvb:len())
    while head:take(0, 8) and head.at < head.last do
        local field = HEAD_FIELDS[head:number(1)]
        local type = head:counted(1, 1)
        local range = type and head:value(type:string())
        if not range then
            break
        end
        if field == "replySerial" then
            message[field] = unsignedOf(range, isLittle)
        elseif field then
            message[field] = range:string()
        end
    end
    local begin = head.last + -head.last % 8
    message.body = Cursor.new(tvb, begin, math.min(begin + bodySize, tvb:len()), isLittle)
    return message
end

-- The next argument, as its bytes; nothing when it has another type.
function Message:argument(wanted)
    local type = self.signature:match("^ay") or self.signature:sub(1, 1)
    self.signature = self.signature:sub(#type + 1)
    local range = type ~= "" and self.body:value(type)
    if not range then
        self.signature = "" -- nobody knows where the next one begins
    end
    return type == wanted and range or nil
end

function Message:signed()
    local range = self:argument("i")
    return range and signedOf(range, self.isLittle), range
end
