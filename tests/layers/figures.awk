# Figures of C++ sources as clang-format leaves them: a function's first brace stands alone on its line,
# and its last one stands below that. A function's length counts from the first line of its head to the
# last brace.

BEGIN {
    LONGEST_FUNCTION = 30
    MEDIAN = 7
    NINE_IN_TEN = 15
    LONGEST_FILE = 300
    LARGEST_ROOM = 30
}

FNR == 1 {
    file[++files] = FILENAME
    inside = 0
    forget_head()
}

{
    lines++
    in_file[FILENAME]++
    in_room[room_of(FILENAME)]++
}

inside {
    if (index($0, closing) == 1) end_function()
    next
}

/^ *\{$/ && head != "" && !is_type(head) {
    inside = 1
    closing = $0
    sub(/\{/, "}", closing)
    next
}

# A function that the class holds on one line.
/^ *[^ #\/].*\).*\{.*\}$/ && head == "" && !/=.*\{/ { note(1, FNR) }

# What is left of the head of a function that may follow: the lines since the last one that ends something.
/^ *$|^ *#|^ *\/\/|[;{}]$|^ *[a-zA-Z_ ]+:$/ { forget_head(); next }

{
    if (head == "") first_line = FNR
    head = head $0
}

END {
    sort_lengths()
    report_functions()
    report_files()
    report_rooms()
    exit broken
}

function room_of(file) {
    sub(/\/[^\/]*$/, "", file)
    return file
}

function is_type(text) {
    sub(/^ *template<[^>]*> */, "", text)
    return text ~ /^ *(class|struct|enum|union|namespace)( |$)/
}

function forget_head() {
    head = ""
}

function end_function() {
    note(FNR - first_line + 1, first_line)
    inside = 0
    forget_head()
}

function note(count, line) {
    length_of[++functions] = count
    if (count > longest) longest = count
    if (count > LONGEST_FUNCTION)
        complain(FILENAME ":" line, "a function of " count " lines", LONGEST_FUNCTION)
}

function complain(where, what, limit) {
    printf "%s: %s, where at most %s are allowed\n", where, what, limit
    broken = 1
}

function sort_lengths(    i, value, at) {
    for (i = 1; i <= functions; i++) counted[length_of[i]]++
    for (value = 1; value <= longest; value++)
        for (i = 1; i <= counted[value]; i++) sorted[++at] = value
}

function report_functions(    median, most) {
    median = sorted[int((functions + 1) / 2)]
    most = sorted[int(functions * 0.9 + 0.999)]
    printf "%d functions: median %d lines, nine in ten within %d, longest %d\n", functions, median, most, longest
    if (median > MEDIAN) complain("functions", "a median of " median " lines", MEDIAN)
    if (most > NINE_IN_TEN) complain("functions", "nine in ten within " most " lines", NINE_IN_TEN)
}

function report_files(    i, count, longest_file) {
    for (i = 1; i <= files; i++) {
        count = in_file[file[i]]
        if (count > in_file[longest_file]) longest_file = file[i]
        if (count > LONGEST_FILE) complain(file[i], "a file of " count " lines", LONGEST_FILE)
    }
    printf "%d files, %d lines; longest %d (%s)\n", files, lines, in_file[longest_file], longest_file
}

function report_rooms(    room, rooms, largest, share) {
    for (room in in_room) {
        rooms++
        if (in_room[room] > in_room[largest]) largest = room
    }
    share = int(in_room[largest] * 100 / lines + 0.5)
    printf "%d rooms; largest %d %% of all lines (%s)\n", rooms, share, largest
    if (in_room[largest] * 100 > LARGEST_ROOM * lines)
        complain(largest, "a room with " share " % of all lines", LARGEST_ROOM " %")
}
