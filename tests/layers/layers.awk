# The rules between the rooms, as the first file lists them, checked in the files that follow.

function complain(rule, other) {
    report(FILENAME, FNR, rule, other)
}

function report(file, line, rule, other) {
    printf "%s%s: %s: %s\n", file, line ? ":" line : "", rule, other
    broken = 1
}

# The folder of a file. A header that the list names by itself counts as a room of its own.
function room_of(file) {
    if (file in is_room) return file
    return sub(/\/[^\/]*$/, "", file) ? file : ""
}

function words(list,    text) {
    text = list
    gsub(/^ +| +$/, "", text)
    gsub(/ +/, ", ", text)
    return text
}

function is_word_of(word, list) {
    return index(", " list ",", ", " word ",")
}

# --- the list of rooms ----------------------------------------------------------------------------

FNR == 1 { reads_rooms = NR == 1 }

reads_rooms && /^#|^ *$/ { next }

reads_rooms {
    name = $0
    sub(/:.*/, "", name)
    list = $0
    sub(/^[^:]*:/, "", list)
    if (name == "programs") programs = words(list)
    else if (name == "split") split_rooms = words(list)
    else if (sub(/^only /, "", name)) reserve(name, list)
    else admit(name, list)
    next
}

function reserve(room, list,    i, count, thing) {
    count = split(list, thing, " ")
    for (i = 1; i <= count; i++) door[thing[i]] = room
}

function admit(room, list,    i, count, other) {
    count = split(list, other, " ")
    for (i = 1; i <= count; i++) {
        if (!(other[i] in is_room)) complain("a room includes only rooms that are listed above it", other[i])
        may_include[room, other[i]]
    }
    is_room[room]
    admitted[room] = admitted[room] list
}

# --- each file ------------------------------------------------------------------------------------

FNR == 1 {
    room = room_of(FILENAME)
    class = FILENAME
    sub(/.*\//, "", class)
    sub(/\..*/, "", class)
    is_cmake = FILENAME ~ /CMakeLists\.txt$/
    if (is_cmake) has_cmake[room]
    if (!is_cmake && !(room in is_room)) complain("every folder of the product is a room of the list", room)
    if (is_library_source(FILENAME) && !(room in first_source)) first_source[room] = FILENAME
}

is_cmake { check_cmake($0); next }

/^ *#include *"/ { check_include(quoted($0)) }

{
    code = $0
    gsub(/"([^"\\]|\\.)*"/, "\"\"", code)
    sub(/\/\/.*/, "", code)
    check_doors(code)
    check_trace(code)
}

function is_library_source(file) {
    return file ~ /\.cpp$/ && file !~ /\/main\.cpp$/
}

function quoted(line) {
    sub(/^[^"]*"/, "", line)
    sub(/".*/, "", line)
    return line
}

# The generated proxies have no folder; they are made from the interfaces.
function check_include(header,    other) {
    other = header ~ /\// ? room_of(header) : "interfaces"
    if (other == room) return
    if (!((room, other) in edge)) {
        edge[room, other] = FILENAME " includes " header
        next_rooms[room] = next_rooms[room] " " other
        if (!(room in rank)) ranked[rank[room] = ++ranks] = room
    }
    if ((room, other) in may_include) return
    complain(room " includes " (words(admitted[room]) ? words(admitted[room]) " only" : "no other room"), header)
}

function check_doors(code,    thing) {
    for (thing in door)
        if (door[thing] != room && uses(code, thing)) complain("only " door[thing] " uses " thing, thing)
}

function uses(code, thing) {
    if (thing ~ /^</) return code ~ /^ *#include/ && index(code, thing) > 0
    return code ~ ("(^|[^A-Za-z0-9_])" thing "\\(")
}

# A definition at the start of a line says which operation the lines after it belong to.
function check_trace(code) {
    if (code ~ /^[A-Za-z].*[a-zA-Z_]\(/) operation = code
    if (code ~ /^[^#]*VORNA_TRACE\(\)/ && owner(operation) != class)
        complain("an entry trace line stands in the file named after its class", owner(operation) ".cpp")
    if (code ~ /^[A-Za-z:]+\* *g_dbgR *=/ && class != "main")
        complain("g_dbgR is defined beside a program's main", "main.cpp")
}

function owner(operation) {
    sub(/\(.*/, "", operation)
    sub(/::~?[A-Za-z_0-9]+$/, "", operation)
    sub(/.*[ *&:]/, "", operation)
    return operation
}

# --- CMake ----------------------------------------------------------------------------------------

function check_cmake(line) {
    sub(/#.*/, "", line)
    check_words(line)
    if (line ~ /add_library\(/) count_library()
    if (line ~ /add_executable\(/ && !is_word_of(room, programs))
        complain("a program is built in its own folder, which is one of " programs, FILENAME)
}

function check_words(line,    i, count, word) {
    gsub(/[()]/, " ", line)
    count = split(line, word, " ")
    for (i = 1; i <= count; i++) if (word[i] ~ /\/.*\.(cpp|h)$/) check_source(word[i])
}

# A source in a folder below is a source of this folder, unless that one has a CMake file of its own.
function check_source(source) {
    named[++names] = source
    named_in[names] = FILENAME
    named_at[names] = FNR
}

function count_library() {
    libraries[room]++
    if (libraries[room] > 1 && !is_word_of(room, split_rooms))
        complain("one library per room, except for " split_rooms, FILENAME)
}

END {
    check_sources()
    check_libraries()
    find_circles()
    exit broken
}

function check_sources(    i, folder) {
    for (i = 1; i <= names; i++) {
        folder = room_of(named_in[i])
        folder = (folder == "" ? "" : folder "/") room_of(named[i])
        if (named[i] ~ /\.\.\/|\$/ || folder in has_cmake)
            report(named_in[i], named_at[i], "a CMake file names no source of another folder", named[i])
    }
}

function check_libraries(    room) {
    for (room in first_source)
        if (room in is_room && room !~ /\// && !libraries[room] && !is_word_of(room, programs))
            report(first_source[room], 0, "every room without a program has a library of its own",
                room "/CMakeLists.txt")
}

# --- circles --------------------------------------------------------------------------------------

function find_circles(    i) {
    for (i = 1; i <= ranks; i++) visit(ranked[i], "")
}

function visit(room, path,    i, count, other) {
    if (room in done) return
    if (room in open) {
        report_circle(room, path)
        return
    }
    open[room]
    count = split(next_rooms[room], other, " ")
    for (i = 1; i <= count; i++) visit(other[i], path " " room)
    delete open[room]
    done[room]
}

function report_circle(room, path,    i, count, step, text) {
    count = split(path " " room, step, " ")
    for (i = count - 1; step[i] != room; i--);
    for (; i < count; i++) text = text (text ? ", " : "") edge[step[i], step[i + 1]]
    printf "no circle of rooms: %s\n", text
    broken = 1
}
