-- Texts as cictl tells them: what may change how a terminal shows the rest is escaped, and what is no text is told as
-- its numbers.

-- What is told of a text or of bytes, at most.
local MOST_CHARACTERS = 1000

local function isDangerous(point)
    return point < 0x20 or point >= 0x7f and point < 0xa0 or point == 0x200e or point == 0x200f
        or point >= 0x2028 and point <= 0x202e or point >= 0x2066 and point <= 0x2069
end

-- A code point as UTF-8.
local function encoded(point)
    if point < 0x80 then
        return string.char(point)
    end
    local bytes, first = "", 0x40
    repeat
        bytes = string.char(0x80 + point % 0x40) .. bytes
        point, first = math.floor(point / 0x40), first / 2
    until point < first
    return string.char(0x100 - 2 * first + point) .. bytes
end

local function shown(points)
    local text = {}
    for i, point in ipairs(points) do
        text[i] = not isDangerous(point) and encoded(point)
            or string.format(point < 0x100 and "\\x%02x" or "\\u%04x", point)
    end
    return table.concat(text)
end

-- The code points of UTF-8; nothing when it is none.
local function pointsOfUtf8(bytes)
    local points, at = {}, 1
    while at <= #bytes do
        local first = bytes:byte(at)
        local size = first < 0x80 and 1 or first < 0xc2 and 0 or first < 0xe0 and 2 or first < 0xf0 and 3
            or first < 0xf5 and 4 or 0
        local point = size == 1 and first or first % 2 ^ (7 - size)
        for i = at + 1, at + size - 1 do
            local byte = bytes:byte(i) or 0
            if byte < 0x80 or byte >= 0xc0 then
                return nil
            end
            point = point * 0x40 + byte % 0x40
        end
        local least = ({0, 0x80, 0x800, 0x10000})[size]
        if not least or point < least or point > 0x10ffff or point >= 0xd800 and point < 0xe000 then
            return nil
        end
        table.insert(points, point)
        at = at + size
    end
    return points
end

-- The code points of UTF-16; nothing when it is none.
local function pointsOfUnits(units)
    local points, at = {}, 1
    while at <= #units do
        local unit, next = units[at], units[at + 1] or 0
        if unit >= 0xd800 and unit < 0xdc00 and next >= 0xdc00 and next < 0xe000 then
            unit = 0x10000 + (unit - 0xd800) * 0x400 + next - 0xdc00
            at = at + 1
        elseif unit >= 0xd800 and unit < 0xe000 then
            return nil
        end
        table.insert(points, unit)
        at = at + 1
    end
    return points
end

local function hexOf(bytes)
    local hex = bytes:sub(1, MOST_CHARACTERS):gsub(".", function(byte) return string.format("%02x", byte:byte()) end)
    return hex .. (#bytes > MOST_CHARACTERS and "…" or "")
end

-- Bytes that should be UTF-8, as many as count.
local function textOf(range, size)
    local bytes = range:raw():sub(1, size or -1)
    local first = bytes
    if #bytes > MOST_CHARACTERS then
        first = bytes:sub(1, MOST_CHARACTERS):gsub("[\xc2-\xf4][\x80-\xbf]*$", "") -- the last may be half a character
    end
    local points = pointsOfUtf8(first)
    return points and shown(points) .. (first ~= bytes and "…" or "") or "{bytes: " .. hexOf(bytes) .. "}"
end

-- Bytes that should be UTF-16.
local function wideTextOf(range, isLittle)
    local count = math.floor(range:len() / 2)
    local units = {}
    for i = 1, math.min(count, MOST_CHARACTERS) do
        units[i] = unsignedOf(range(2 * i - 2, 2), isLittle)
    end
    local more = count > MOST_CHARACTERS and "…" or ""
    if more ~= "" and units[#units] >= 0xd800 and units[#units] < 0xdc00 then
        table.remove(units)
    end
    local points = pointsOfUnits(units)
    return points and shown(points) .. more or "{codeUnits: " .. table.concat(units, ", ") .. more .. "}"
end

-- A text in a line of the packet list.
local function shortened(text)
    local MOST = 60
    if #text <= MOST then
        return text
    end
    return text:sub(1, MOST):gsub("[\xc0-\xff]?[\x80-\xbf]*$", "") .. "…"
end
