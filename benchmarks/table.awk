# awk -f table.awk RESULTS FIGURES: the table that ./bench prints. RESULTS has a line for each measurement: benchmark,
# what, value, by tabs. FIGURES says itself what its lines mean. The exit status is 1 if a benchmark failed.
function trim(text) { gsub(/^ +| +$/, "", text); return text }
function scaleOf(unit) { return unit ~ /^ns/ ? 1e9 : unit == "ms" ? 1e3 : 1 }
function number(value) { return sprintf(value >= 100 || value == 0 ? "%.0f" : value >= 10 ? "%.1f" : "%.2f", value) }

# The slope of the logarithm of `what` over the logarithm of the size, or of another counter: "time over packets"; empty
# if one was not measured.
function slopeOf(pattern, what,    parts, sizes, words, over, n, i, name, x, y, sx, sy, sxx, sxy) {
  if (split(pattern, parts, /[{}]/) != 3) return ""
  over = split(what, words, " over ") == 2 ? words[2] : ""
  n = split(parts[2], sizes, ",")
  for (i = 1; i <= n; ++i) {
    name = parts[1] sizes[i] parts[3]
    if (!((name, words[1]) in least) || over != "" && !((name, over) in least)) return ""
    x = log(over == "" ? sizes[i] : least[name, over]); y = log(least[name, words[1]])
    sx += x; sy += y; sxx += x * x; sxy += x * y
  }
  return (n * sxy - sx * sy) / (n * sxx - sx * sx)
}

function measured(benchmark, what, unit) {
  if (unit == "slope") return slopeOf(benchmark, what)
  return (benchmark, what) in least ? least[benchmark, what] * scaleOf(unit) : ""
}

function verdict(value, goal, ratio) {
  if (goal == "-") return ""
  if (goal ~ /x$/) return ratio == "" ? "" : ratio <= goal + 0 ? "met" : "MISSED"
  return value <= goal + 0 ? "met" : "MISSED"
}

FILENAME == ARGV[1] {
  split($0, field, "\t")
  if (field[2] == "error") { error[field[1]] = field[3]; next }
  key = field[1] SUBSEP field[2]
  if (!(key in least) || field[3] + 0 < least[key]) least[key] = field[3] + 0
  next
}
/^#/ || NF == 0 { next }
{
  if (!rows++) printf "%-48s %10s %-7s %9s %8s %7s  %s\n", "figure", "measured", "", "bare loop", "ratio", "goal", ""
  split($0, field, "|")
  for (i in field) field[i] = trim(field[i])
  value = measured(field[2], field[3], field[4])
  if (value == "") {
    printf "%-48s %s\n", field[1], field[2] in error ? "FAILED: " error[field[2]] : "not measured"
    failed = failed || field[2] in error
    next
  }
  bare = field[6] == "" ? "" : measured(field[6], field[3] == "perRp" ? "perRp" : "time", field[4])
  ratio = bare != "" && bare > 0 && field[4] != "slope" ? value / bare : ""
  result = verdict(value, field[5], ratio)
  missed += result == "MISSED"
  printf "%-48s %10s %-7s %9s %8s %7s  %s\n", field[1], number(value), field[4], bare == "" ? "" : number(bare),
         ratio == "" ? "" : number(ratio), field[5], result
}
END {
  for (name in error) if (name !~ /Iprange/) { print "FAILED: " name ": " error[name]; failed = 1 }
  printf "%d figures miss their goals\n", missed
  exit failed
}
