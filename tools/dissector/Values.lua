-- Argument trees, and the values in them by their types.

local LEAF, LIST, MAP = 1, 2, 3
local MOST_NODES = 20000 -- what a hand can scroll through, and no packet list waits for
local MOST_ELEMENTS = 100

-- A node has its kind, tag and size, and as a branch its children. What it is in the packet is asked for when it is shown.
local Node = {}
Node.__index = Node

function Node:content()
    return self.payload(self.at, self.size)
end

function Node:whole()
    return self.payload(self.at - 8, 8 + self.size)
end

-- Reads the nodes of an argument tree. complain(range, text) hears what is wrong; nodes up to there are given all the same.
-- Gives the root, or nothing when not even that can be read; and whether the tree is whole.
local function readTree(range, isLittle, complain)
    local payload = range:tvb() -- of its own: there may be empty ranges at its end
    local bytes = range:raw()
    local left = MOST_NODES
    local isWhole = true

    local function wrong(at, text)
        isWhole = false
        complain(payload(at, math.min(8, #bytes - at)), text)
    end

    local function readNodes(at, last, depth)
        local nodes = {}
        while at < last and isWhole do
            local rest = last - at - 8
            left = left - 1
            if left < 0 then
                wrong(at, "there are more than " .. MOST_NODES .. " nodes: the rest is not taken apart")
                break
            elseif rest < 0 then
                wrong(at, "a node's header of 8 bytes has only " .. rest + 8)
                break
            end
            local kind, zero = bytes:byte(at + 1, at + 2)
            local size = numberAt(bytes, at + 4, 4, isLittle)
            if kind < LEAF or kind > MAP or zero ~= 0 then
                wrong(at, "this is no header of a node")
                break
            elseif size > rest then
                wrong(at, "a node of " .. size .. " bytes, where only " .. rest .. " are left")
                break
            elseif depth > TABLES.greatestDepth then
                wrong(at, "a node lies deeper than " .. TABLES.greatestDepth)
                break
            end
            at = at + 8
            local node = setmetatable({payload = payload, at = at, size = size, kind = kind,
                                       tag = numberAt(bytes, at - 6, 2, isLittle)}, Node)
            if kind ~= LEAF then
                node.children = readNodes(at, at + size, depth + 1)
            end
            nodes[#nodes + 1] = node
            at = at + size
        end
        return nodes
    end

    if bytes:sub(1, 4) ~= "\1\0\0\0" then -- the version and three zeros
        wrong(0, "this is no argument tree")
        return nil, false
    end
    local roots = readNodes(4, #bytes, 1)
    local root = roots[1]
    if isWhole and (not root or root.kind ~= LIST or roots[2]) then
        wrong(0, roots[2] and "there are bytes behind the argument tree" or "the root of the argument tree is no list")
    end
    return root and root.children and root, isWhole
end

-- Of two children with one tag the first counts.
local function childOf(node, tag)
    for _, child in ipairs(node.children) do
        if child.tag == tag then
            return child
        end
    end
end

-- A name of an enumeration. A negative one may stand cut down to some bits.
local function nameOf(enumeration, number, bits)
    local names = TABLES.names[enumeration]
    return names and (names[number] or bits and names[number - 2 ^ bits])
end

-- A value, told: {words = ..., value = a number or flag, range = its bytes, parts = {{name = ..., told = ...}, ...}}; a part
-- that is a member of a type has a field, too. Fields that are sent one by one are found behind the first one's tag.
local tell -- (typeName, node, isLittle, firstTag): nothing when the node is of another kind

local function tellPlain(type, range, isLittle)
    if type.kind == "record" then
        return tell.record(type, range, isLittle)
    elseif type.kind == "flag" then
        local isSet = range:uint() ~= 0
        return {words = tostring(isSet), value = isSet, range = range}
    elseif type.kind == "enum" then
        local number = type.size == 1 and range:uint() or signedOf(range, isLittle)
        local name = nameOf(type.names, number)
        return {words = name or tostring(number), range = range}
    end
    local read = range[(isLittle and "le_" or "") .. type.kind .. "64"]
    local value = read(range)
    return {words = tostring(value), value = value, range = range}
end

local function objectOf(parts, range)
    local words = {}
    for i, part in ipairs(parts) do
        words[i] = part.name .. ": " .. part.told.words
    end
    return {words = "{" .. table.concat(words, ", ") .. "}", range = range, parts = parts}
end

-- The bytes of a leaf; none where it is not there or is a branch.
local function leafBytes(leaf, node)
    return leaf and leaf.kind == LEAF and leaf:content() or node:whole()(0, 0)
end

tell = setmetatable({}, {__call = function(tellers, typeName, node, isLittle, firstTag)
    local type = TABLES.types[typeName]
    if type.size then
        local isRight = node.kind == LEAF and node.size == type.size
        return isRight and tellPlain(type, node:content(), isLittle) or nil
    end
    return tellers[type.kind](type, node, isLittle, firstTag)
end})

function tell.record(type, range, isLittle)
    local parts = {}
    for _, member in ipairs(type) do
        local memberType = TABLES.types[member.type]
        local told = tellPlain(memberType, range(member.offset, memberType.size), isLittle)
        table.insert(parts, {name = member.name, field = type.name .. "." .. member.name, told = told})
    end
    return objectOf(parts, range)
end

function tell.object(type, node, isLittle, firstTag)
    if node.kind == LEAF then
        return nil
    end
    local parts = {}
    for _, member in ipairs(type) do
        local child = childOf(node, member.tag + (firstTag or 0))
        local told = child and tell(member.type, child, isLittle)
        if type.isHolder then
            return told
        elseif told then
            table.insert(parts, {name = member.name, field = type.name .. "." .. member.name, told = told})
        end
    end
    return objectOf(parts, firstTag and parts[1] and parts[1].told.range or node:whole())
end

function tell.bytes(_, node)
    return node.kind ~= LEAF and {words = hexOf(leafBytes(node.children[1], node):raw()), range = node:whole()} or nil
end

function tell.wide(_, node, isLittle)
    local leaf = node.kind == LEAF and node or node.children[1]
    return {words = wideTextOf(leafBytes(leaf, node), isLittle), range = node:whole()}
end

function tell.text(_, node, isLittle)
    if node.kind == LEAF then
        return {words = textOf(node:content()), range = node:whole()}
    end
    local bytes, length = leafBytes(childOf(node, 1), node), childOf(node, 0)
    local size = length and length.kind == LEAF and length.size == 4 and unsignedOf(length:content(), isLittle) or 0
    return {words = textOf(bytes, size), range = node:whole()}
end

-- The elements of a container: tellOne(index) gives a name, what is told, and the words for it in a row.
local function tellEach(node, count, tellOne)
    local words, parts = {}, {}
    for i = 1, math.min(count, MOST_ELEMENTS) do
        local name, told, phrase = tellOne(i)
        if not told then
            return nil
        end
        table.insert(words, phrase or told.words)
        table.insert(parts, {name = name, told = told})
    end
    if count > MOST_ELEMENTS then
        table.insert(words, "… " .. count .. " altogether")
    end
    return {words = #words > 0 and table.concat(words, ", ") or "none", range = node:whole(), parts = parts}
end

function tell.list(type, node, isLittle)
    if node.kind == LEAF then
        return nil
    end
    if not type.isPacked then
        return tellEach(node, #node.children, function(i)
            return "[" .. i - 1 .. "]", tell(type.of, node.children[i], isLittle)
        end)
    end
    local element = TABLES.types[type.of]
    local bytes = leafBytes(node.children[1], node)
    return tellEach(node, math.floor(bytes:len() / element.size), function(i)
        return "[" .. i - 1 .. "]", tellPlain(element, bytes((i - 1) * element.size, element.size), isLittle)
    end)
end

-- A key of two members is told as both.
local function keyWords(told)
    if not told or not told.parts then
        return told and told.words
    end
    local words = {}
    for i, part in ipairs(told.parts) do
        words[i] = part.told.words
    end
    return table.concat(words, "/")
end

function tell.map(type, node, isLittle)
    if node.kind == LEAF then
        return nil
    end
    local entries = tellEach(node, math.floor(#node.children / 2), function(i)
        local key = keyWords(tell(type.key, node.children[2 * i - 1], isLittle))
        local told = tell(type.of, node.children[2 * i], isLittle)
        return key, key and told, key and told and key .. ": " .. told.words
    end)
    if entries and #entries.parts > 0 then
        entries.words = "{" .. entries.words .. "}"
    end
    return entries
end

for name, type in pairs(TABLES.types) do
    type.name = name:gsub("^fields of ", "")
end
