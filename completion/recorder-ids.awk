# Prints the "id" of every member of media.recorders in a JSON document, one a line:
# a small tokenizer with a stack of containers and their current keys, since a device
# has neither jq nor python. Escapes \" \\ \/ \t \n are decoded; \uXXXX stays as written.
{ doc = doc $0 "\n" }
END {
  n = length(doc); d = 0; i = 1
  while (i <= n) {
    c = substr(doc, i, 1)
    if (c == "\"") {
      s = ""
      for (i++; i <= n; i++) {
        c = substr(doc, i, 1)
        if (c == "\"") break
        if (c == "\\") {
          c = substr(doc, ++i, 1)
          if (c == "t") c = "\t"; else if (c == "n") c = "\n"; else if (c == "u") c = "\\u"
        }
        s = s c
      }
      if (kind[d] == "o" && wantkey[d]) key[d] = s
      else if (d == 4 && kind[4] == "o" && key[4] == "id" && kind[3] == "a" &&
               key[2] == "recorders" && key[1] == "media") print s
    } else if (c == "{" || c == "[") {
      kind[++d] = (c == "{") ? "o" : "a"; key[d] = ""; wantkey[d] = (c == "{")
    } else if (c == "}" || c == "]") {
      d--
    } else if (c == ":") {
      wantkey[d] = 0
    } else if (c == ",") {
      wantkey[d] = (kind[d] == "o")
    }
    i++
  }
}
