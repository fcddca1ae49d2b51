# The mounts of the service that are to be taken down, a line "kind root path" for each, in the order in which
# they can go. The path has \0 and three octal digits where the kernel's table has a backslash and three. Used by
# service-mounts:
#   awk -v state=STATE -f take-down-order.awk STATE /proc/self/mountinfo
#
# The kinds:
#   kernel   The kernel drives it. It goes out of the tree even when it is in use, and ends with its last user.
#   driver   A driver in user space drives it, or something on it. In use, it stays: its driver would run on unseen, and
#            a second one on the same device would destroy what the first writes.
#   own      /mnt, a private mount of our own making.
#   covered  The same, with something over it that is not to be taken down.
#
# A disk's file system may lie over a root itself: one without a name does. The mounts on it go first, then
# the file system, then what it covered. Any other mount over a root stays, and what it covers is out of
# reach.

FILENAME == state {
    spared[$2, $3, $4]
    if ($1 == "private") own[$2, $3]
    next
}

{
    for (i = 7; $i != "-"; i++);
    mount[++count] = $1
    path[$1] = $5
    if ($2 != $1) parent[$1] = $2
    if ($(i + 1) ~ /^fuse/) has_driver[$1]
    if ($4 == "/" && $(i + 2) ~ /^\/dev\// && !(($1, $3, $5) in spared)) is_disk[$1]
    if ($5 == "/mnt" && ($1, $3) in own) own_mnt = $1
}

END {
    for (m in has_driver) for (carrier = m; carrier in path; carrier = parent[carrier]) carries_driver[carrier]
    list("/media")
    list("/mnt")
}

function list(root,    ground, m) {
    ground = ground_of(root)
    while ((m = topmost(root, ground)) != "") {
        listed[m]
        print_line(m in carries_driver ? "driver" : "kernel", root, path[m])
    }
    if (root == "/mnt" && own_mnt != "") print_line(own_mnt == ground ? "own" : "covered", root, root)
}

# The mount over the root that stays, the topmost of several; "" for the bare directory.
function ground_of(root,    i, m, ground) {
    for (i = 1; i <= count; i++) {
        m = mount[i]
        if (path[m] == root && !(m in is_disk) && height(m, root) > height(ground, root)) ground = m
    }
    return ground
}

# The next one that can go.
function topmost(root, ground,    i, m, found) {
    found = ground
    for (i = 1; i <= count; i++) {
        m = mount[i]
        if (is_in(root, path[m]) && !(m in listed) && height(m, root) > height(found, root)) found = m
    }
    return found == ground ? "" : found
}

# Mounts over the root count most, then those that a mount is stacked on.
function height(m, root,    sum) {
    for (; m in path && path[m] != root; m = parent[m]) sum++
    for (; m in path; m = parent[m]) if (path[m] == root) sum += 1000000
    return sum + 0
}

# Over the root or directly below it.
function is_in(root, directory) {
    return directory == root || index(directory, root "/") == 1 && substr(directory, length(root) + 2) !~ /\//
}

function print_line(kind, root, directory) {
    gsub(/\\/, "&0", directory)
    print kind, root, directory
}
