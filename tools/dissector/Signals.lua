-- What the eight bytes of a signal mean, in the words of cictl.

local PLACES = { -- how many bits, and the first of them in the data
    code = {bits = 8, offset = 1, size = 1},
    id = {bits = 16, offset = 2, size = 2},
    value = {bits = 32, offset = 4, size = 4},
    low = {bits = 16, offset = 4, size = 4},
    high = {bits = 16, offset = 4, size = 4},
}

-- A number of a signal: told, and as part of a sentence.
local function tellNumber(row, data, isLittle)
    local place = PLACES[row.place]
    local range = data(place.offset, place.size)
    local number = unsignedOf(range, isLittle)
    if row.place == "low" then
        number = number % 0x10000
    elseif row.place == "high" then
        number = math.floor(number / 0x10000)
    end
    local name = nameOf(row.names, number, place.bits)
    if row.isSigned and number >= 0x8000 then
        number = number - 0x10000
    end
    local phrase = number == 1 and row.one or row.phrase or row.key .. " #"
    return {key = row.key, phrase = name or (phrase:gsub("#", number)),
            told = {words = name or tostring(number), value = row.isSigned and Int64(number) or UInt64(number),
                    range = range}}
end

-- The numbers of a signal that mean something with its code, and what nothing explains.
local function tellNumbers(signal, data, isLittle)
    local code = data(1, 1):uint()
    local parts = {}
    local rest = {code = code, id = unsignedOf(data(2, 2), isLittle), value = unsignedOf(data(4, 4), isLittle)}
    for _, row in ipairs(signal) do
        if not row.codes or row.codes[code] then
            table.insert(parts, tellNumber(row, data, isLittle))
            if row.place == "low" then
                rest.value = rest.value - rest.value % 0x10000
            elseif row.place == "high" then
                rest.value = rest.value % 0x10000
            else
                rest[row.place] = 0
            end
        end
    end
    for _, key in ipairs({"code", "id", "value"}) do
        if rest[key] ~= 0 or key == "code" and signal.isUnknown then
            local told = {words = tostring(rest[key]), range = data(PLACES[key].offset, PLACES[key].size)}
            table.insert(parts, key == "code" and 1 or #parts + 1,
                {key = key, phrase = key .. " " .. rest[key], told = told})
        end
    end
    return parts
end

-- Whom a signal concerns: the slot, the pipeline, or both.
local function subjectOf(signal, profile, handle, slot)
    local slotWords = slot ~= TABLES.noSlot and "slot " .. slot
    if signal.isOfSlot and profile == TABLES.mainProfile and handle == (slotWords and slot or 0) then
        return slotWords or "no slot"
    end
    local name = nameOf(TABLES.profiles, profile) or "profile " .. profile
    return name .. "/" .. handle .. (slotWords and ", " .. slotWords or "")
end
