# The medians of a run in Google Benchmark's CSV as tables in Markdown.
BEGIN { FS = "," }

{ gsub(/"/, "", $1) }

$1 ~ /_(median|cv)$/ {
    split($1, part, "/")
    kind = $1 ~ /_cv$/ ? "cv" : "median"
    value[part[1], part[2], part[3], kind] = $3 + 0
}

function milliseconds(what, size, who) { return sprintf("%.2f", value[what, size, who, "median"] / 1000) }
function spread(what, size, who) { return sprintf("%.0f %%", value[what, size, who, "cv"] / 10000) }
function ratio(what, size, who, other) {
    return sprintf("%.2f", value[what, size, who, "median"] / value[what, size, other, "median"])
}

END {
    count = split("S M L", sizes, " ")
    print "| what | size | ours, ms | spread | floor, ms | spread | ratio |\n|---|---|---|---|---|---|---|"
    for (w = split("load load+forget stall worker", whats, " "); w > 0; --w) order[w] = whats[w]
    for (w = 1; w <= 4; ++w) {
        what = whats[w] == "load+forget" ? "load" : whats[w]
        who = whats[w] == "load+forget" ? "ours+forget" : "ours"
        for (s = 1; s <= count; ++s)
            printf "| %s | %s | %s | %s | %s | %s | %s |\n", whats[w], sizes[s],
                milliseconds(what, sizes[s], who), spread(what, sizes[s], who),
                milliseconds(what, sizes[s], "floor"), spread(what, sizes[s], "floor"),
                ratio(what, sizes[s], who, "floor")
    }
    print "\n| what | size | QSettings / ours | KConfig / ours | PropertyTree / ours |\n|---|---|---|---|---|"
    for (w = 1; w <= 3; w += 2)
        for (s = 1; s <= count; ++s)
            printf "| %s | %s | %s | %s | %s |\n", whats[w], sizes[s],
                ratio(whats[w], sizes[s], "qsettings", "ours"), ratio(whats[w], sizes[s], "kconfig", "ours"),
                ratio(whats[w], sizes[s], "ptree", "ours")
    print "\n| per stock, M to L | ratio |\n|---|---|"
    printf "| load | %.2f |\n", value["load", "L", "ours", "median"] / 50000 / (value["load", "M", "ours", "median"] / 2000)
    printf "| load+forget | %.2f |\n", value["load", "L", "ours+forget", "median"] / 50000 / (value["load", "M", "ours+forget", "median"] / 2000)
    printf "| floor of load | %.2f |\n", value["load", "L", "floor", "median"] / 50000 / (value["load", "M", "floor", "median"] / 2000)
    printf "| stall | %.2f |\n", value["stall", "L", "ours", "median"] / 50000 / (value["stall", "M", "ours", "median"] / 2000)
    printf "| worker | %.2f |\n", value["worker", "L", "ours", "median"] / 50000 / (value["worker", "M", "ours", "median"] / 2000)
    printf "| peak memory of a load and a save | %.2f |\n", peakL / 50000 / (peakM / 2000)
}
