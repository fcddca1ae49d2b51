# Draws a picture: reads its description and writes it as SVG. Each line of the description is one thing, in the
# order in which they lie over one another; what follows the first "|" is its texts. Positions are in pixels.
#
#   canvas W H|alternative text            the dark panel that everything lies on
#   card X Y W H|title|subtitle            a frame around things that belong together
#   row X Y W COLOUR|title|subtitle        a volume or a directory, with a mark of its colour
#   program X Y W H LINE|name|line|...     a program and, from LINE on, what it does
#   room X Y W H|name|class|...            a room of the house and what is in it, in columns of its width
#   part X Y|room|job|class|...            some classes of a room, below the job that they have in common
#   floor Y H|name                         a floor of the house, over the whole width
#   flow COLOUR X1 Y1 X2 Y2 ...            a volume's way over these points, each bend a curve from left to right
#   arrow X1 Y1 X2 Y2 ...                  an arrow over these points
#   terminal X Y W|command                 a line typed at a prompt
#   note X Y ANCHOR|text                   small text; ANCHOR is start, middle or end
#   icon KIND X Y                          a disk, a stick, a folder or a sheet

BEGIN {
    SANS = "'DejaVu Sans', 'Segoe UI', Helvetica, Arial, sans-serif"
    MONO = "'DejaVu Sans Mono', Menlo, Consolas, monospace"
    colour["blue"] = "#60a5fa"
    colour["green"] = "#34d399"
    colour["amber"] = "#fbbf24"
    colour["violet"] = "#a78bfa"
    colour["pink"] = "#f472b6"
    ROW = 46
}

/^ *(#|$)/ { next }

{
    texts = split($0, text, "|")
    for (i = 2; i <= texts; i++) text[i] = escaped(text[i])
    words = split(text[1], word, " ")
}

word[1] == "canvas" { open_canvas(word[2], word[3], text[2]) }
word[1] == "card" { card(word[2], word[3], word[4], word[5]) }
word[1] == "row" { row(word[2], word[3], word[4], colour[word[5]]) }
word[1] == "program" { program(word[2], word[3], word[4], word[5], word[6]) }
word[1] == "room" { room(word[2], word[3], word[4], word[5]) }
word[1] == "part" { part(word[2], word[3]) }
word[1] == "floor" { floor(word[2], word[3]) }
word[1] == "flow" { flow(colour[word[2]]) }
word[1] == "arrow" { arrow() }
word[1] == "terminal" { terminal(word[2], word[3], word[4]) }
word[1] == "note" { write(word[2], word[3], "note", word[4], text[2]) }
word[1] == "icon" { icon(word[2], word[3], word[4]) }

END { print "</svg>" }

function escaped(line) {
    gsub(/&/, "\\&amp;", line)
    gsub(/</, "\\&lt;", line)
    gsub(/>/, "\\&gt;", line)
    return line
}

function open_canvas(w, h, alternative) {
    width = w
    printf "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %d %d\" width=\"%d\" height=\"%d\"", w, h, w, h
    printf " role=\"img\" aria-label=\"%s\">\n", alternative
    printf "<title>%s</title>\n", alternative
    print_style()
    print "<defs>"
    print "<linearGradient id=\"panel\" x1=\"0\" y1=\"0\" x2=\"0\" y2=\"1\">"
    print "<stop offset=\"0\" stop-color=\"#16213a\"/><stop offset=\"1\" stop-color=\"#0c1424\"/></linearGradient>"
    print "<linearGradient id=\"front\" x1=\"0\" y1=\"0\" x2=\"0\" y2=\"1\">"
    print "<stop offset=\"0\" stop-color=\"#2b3d63\"/><stop offset=\"1\" stop-color=\"#213051\"/></linearGradient>"
    print "<marker id=\"tip\" viewBox=\"0 0 10 10\" refX=\"8\" refY=\"5\" markerWidth=\"7\" markerHeight=\"7\" orient=\"auto\">"
    print "<path d=\"M0 0L10 5L0 10z\" fill=\"#9fb3d9\"/></marker>"
    print "</defs>"
    box(1, 1, w - 2, h - 2, 18, "panel")
}

function print_style() {
    print "<style>"
    print "text { font-family: " SANS "; fill: #e6edf9 }"
    print ".panel { fill: url(#panel); stroke: #31415f }"
    print ".card { fill: #1a2742; stroke: #34466a }"
    print ".row { fill: #223253 }"
    print ".front { fill: url(#front); stroke: #5672a8; stroke-width: 1.5 }"
    print ".room { fill: url(#front); stroke: #4a6194 }"
    print ".floor { fill: #ffffff; fill-opacity: 0.035 }"
    print ".screen { fill: #070c17; stroke: #3a4d74 }"
    print ".arrow { stroke: #9fb3d9; stroke-width: 2; fill: none; marker-end: url(#tip) }"
    print ".flow { stroke-width: 4; stroke-opacity: 0.9; stroke-linecap: round; fill: none }"
    print ".line { stroke: #c7d5f0; stroke-width: 2; fill: none; stroke-linejoin: round; stroke-linecap: round }"
    print ".title { font-size: 17px; font-weight: bold }"
    print ".name { font-size: 18px; font-weight: bold; font-family: " MONO " }"
    print ".label { font-size: 16px; font-weight: bold; font-family: " MONO " }"
    print ".small { font-size: 12.5px; fill: #a9bbdc }"
    print ".does { font-size: 14px; fill: #d3def3 }"
    print ".class { font-size: 12.5px; font-family: " MONO "; fill: #d3def3 }"
    print ".job { font-size: 12.5px; font-style: italic; fill: #8fb4f5 }"
    print ".note { font-size: 13px; fill: #a9bbdc }"
    print ".storey { font-size: 13px; fill: #8397bf; font-style: italic }"
    print ".typed { font-size: 14px; font-family: " MONO " }"
    print ".prompt { fill: #34d399; font-weight: bold }"
    print "</style>"
}

function box(x, y, w, h, radius, class) {
    printf "<rect x=\"%s\" y=\"%s\" width=\"%s\" height=\"%s\" rx=\"%s\" class=\"%s\"/>\n", x, y, w, h, radius, class
}

function write(x, y, class, anchor, content) {
    printf "<text x=\"%s\" y=\"%s\" class=\"%s\" text-anchor=\"%s\">%s</text>\n", x, y, class, anchor, content
}

function card(x, y, w, h) {
    box(x, y, w, h, 12, "card")
    write(x + 52, y + 26, "title", "start", text[2])
    write(x + 52, y + 43, "small", "start", text[3])
}

function row(x, y, w, mark) {
    box(x, y, w, ROW, 8, "row")
    printf "<rect x=\"%s\" y=\"%s\" width=\"6\" height=\"%s\" rx=\"3\" fill=\"%s\"/>\n", x + 6, y + 7, ROW - 14, mark
    write(x + 22, y + 20, "label", "start", text[2])
    write(x + 22, y + 37, "small", "start", text[3])
}

function program(x, y, w, h, first,    i) {
    box(x, y, w, h, 14, "front")
    write(x + w / 2, y + 36, "name", "middle", text[2])
    for (i = 3; i <= texts; i++) write(x + w / 2, first + (i - 3) * 24, "does", "middle", text[i])
}

# The classes stand in as many columns as their longest name leaves room for.
function room(x, y, w, h,    i, longest, columns, at) {
    box(x, y, w, h, 10, "room")
    write(x + 14, y + 24, "label", "start", text[2])
    for (i = 3; i <= texts; i++) if (length(text[i]) > longest) longest = length(text[i])
    columns = longest ? int((w - 10) / (longest * 7.6 + 14)) : 1
    if (columns < 1) columns = 1
    for (i = 3; i <= texts; i++) {
        at = i - 3
        write(x + 14 + (at % columns) * int((w - 14) / columns), y + 47 + int(at / columns) * 19, "class", "start", text[i])
    }
}

function part(x, y,    i) {
    write(x, y, "job", "start", text[3])
    for (i = 4; i <= texts; i++) write(x, y + (i - 3) * 19, "class", "start", text[i])
}

function floor(y, h) {
    box(14, y, width - 28, h, 10, "floor")
    write(28, y + 20, "storey", "start", text[2])
}

function flow(stroke,    i, middle, path) {
    path = "M" word[3] " " word[4]
    for (i = 5; i < words; i += 2) {
        middle = (word[i - 2] + word[i]) / 2
        path = path "C" middle " " word[i - 1] " " middle " " word[i + 1] " " word[i] " " word[i + 1]
    }
    printf "<path class=\"flow\" stroke=\"%s\" d=\"%s\"/>\n", stroke, path
    dot(word[3], word[4], stroke)
    dot(word[words - 1], word[words], stroke)
}

function dot(x, y, fill) {
    printf "<circle cx=\"%s\" cy=\"%s\" r=\"5\" fill=\"%s\"/>\n", x, y, fill
}

function arrow(    i, path) {
    for (i = 2; i < words; i += 2) path = path (path ? "L" : "M") word[i] " " word[i + 1]
    printf "<path class=\"arrow\" d=\"%s\"/>\n", path
}

function terminal(x, y, w) {
    box(x, y, w, 38, 8, "screen")
    printf "<text x=\"%s\" y=\"%s\" class=\"typed\"><tspan class=\"prompt\">#</tspan> %s</text>\n", x + 14, y + 24, text[2]
}

function icon(kind, x, y) {
    printf "<g class=\"line\" transform=\"translate(%s %s)\">", x, y
    if (kind == "disk") printf "<ellipse cx=\"13\" cy=\"5\" rx=\"12\" ry=\"4.5\"/>" \
        "<path d=\"M1 5V21C1 27 25 27 25 21V5M1 13C1 19 25 19 25 13\"/>"
    if (kind == "stick") printf "<path d=\"M7 9V1H19V9M4 9H22V25Q22 27 20 27H6Q4 27 4 25ZM11 4.5H11.1M15 4.5H15.1\"/>"
    if (kind == "folder") printf "<path d=\"M1 24V4Q1 2 3 2H10L13 6H24Q26 6 26 8V24Q26 26 24 26H3Q1 26 1 24ZM1 11H26\"/>"
    if (kind == "sheet") printf "<path d=\"M3 1H15L21 7V25H3ZM15 1V7H21M7 12H17M7 16H17M7 20H13\"/>"
    print "</g>"
}
