# Says why each row of one listing on a card's file system differs from the same listing
# on ext4, for scripts/boot-test. Reads NOTES ("name<TAB>why" lines, one for each file
# the file system holds differently), then the rows on ext4, then the rows on FS:
#
#   awk -v fs=vfat -v n=1 -v cmd="ls all" -v fmt=ATSDNF -f explain.awk NOTES EXT4 FS
#
# fmt: the column letters of a text listing, "json" (a row is an object of the array),
# or "count bytes" for the lines of stat. Exits 1 when a row differs that no note
# explains.

# The noted file a row is about. A name is looked for up to its first byte outside
# printable ASCII: JSON writes a name that is not UTF-8 with U+FFFD.
function about(line, k) {
  if (totals) return "#" (line in was ? was[line] : now[line])
  for (k in why) if (index(line, stem[k])) return k
  return ""
}
# A JSON field is a member, "name":value, or the first member of an object within,
# "name":{"inner":value: the value begins at the first ": not followed by {.
function column(i, field) {
  if (fmt == "json") { match(field, /":[^{]/); field = substr(field, 1, RSTART - 1); gsub(/[{"]/, "", field); sub(/:/, ".", field); return field }
  if (fmt ~ / /) { split(fmt, c, " "); return c[i] }
  return substr(fmt, i, 1)
}
function value(field) {
  if (fmt == "json") { match(field, /":[^{]/); field = substr(field, RSTART + 2); sub(/}+$/, "", field) }
  return field
}
function say(row, text) {
  said[row] = said[row] sprintf("  #%d %s: row %d %s\n", n, cmd, row, text)
  if (row > last) last = row
}

BEGIN { totals = cmd ~ /^stat/ }
FILENAME == ARGV[1] {
  split($0, f, "\t")
  if (!(f[1] in why)) {
    why[f[1]] = f[2]
    stem[f[1]] = f[1]
    sub(/[^ -~].*/, "", stem[f[1]])
  } else if (!index(why[f[1]], f[2])) {
    why[f[1]] = why[f[1]] "; " f[2]
  }
  next
}
FILENAME == ARGV[2] { was[$0] = FNR; next }
{ now[$0] = FNR }

END {
  sep = fmt == "json" ? ",\"" : "\t"
  for (k in why) if (why[k] ~ /no such file/) missing = missing " " k
  for (l in now) {
    if (l in was) continue
    k = about(l)
    if (k != "") came[k] = l
    else extra[++extras] = l
  }
  for (l in was) {
    if (l in now) continue
    k = about(l)
    if (k == "") { say(was[l], "differs, and no rule says why"); bad = 1; continue }
    if (!(k in came)) { say(was[l], "(" k ") is not on " fs ": " why[k]); ++gone; continue }
    split(l, a, sep)
    split(came[k], b, sep)
    cols = ""
    for (i = 1; i in a; i++)
      if (a[i] != b[i]) cols = cols sprintf(" %s %s -> %s,", column(i, a[i]), value(a[i]), value(b[i]))
    reason = totals ? "counts without the files " fs " does not hold:" missing : why[k]
    say(was[l], (totals ? "(totals)" : k) ":" cols " " reason)
    delete came[k]
  }
  for (k in came) say(now[came[k]], "on " fs " (" k ") is only there: " why[k])
  # With a limit, each row left out makes room for the next one below the page.
  for (i = 1; i <= extras; i++) {
    if (cmd ~ / (-l|--limit) / && i <= gone) {
      say(now[extra[i]], "on " fs " comes into the page: a row above it is not on " fs)
    } else {
      say(now[extra[i]], "on " fs " is only there, and no rule says why")
      bad = 1
    }
  }
  for (r = 1; r <= last; r++) printf "%s", said[r]
  exit bad
}
