#!/usr/bin/env bash
# The project speaks of itself alone: words.sh looks through every tracked file and every commit message for what does
# not belong there, prints it and fails. A pattern is written so that it does not find itself.
set -uo pipefail
cd "$(dirname "$(realpath "$0")")/../.." || exit 1
git rev-parse --verify --quiet HEAD >/dev/null || exit 77 # no history here: an unpacked archive

texts='\b[s]pecification\b|\b(the|this|our|per|by|in|see) [s]pec\b|\b[P]arts? [0-9]\.[0-9]'  # a paper that is not here
machines='(^|[^A-Za-z0-9_.$}"/-])/([h]ome|[r]oot|[U]sers|[w]ork)/[A-Za-z]'                    # somebody's folders
hosts='\b[d]ebian\.org\b|\b[n]pmjs\b|\b[p]ypi\.org\b'                                         # whoever serves packages
unfinished='\b(T[O]DO|F[I]XME|X[X]X)\b'                                                       # notes to oneself
messages='^(w[i]p|f[i]xup!|s[q]uash!)'

found=0
git grep -nIP "(?i:$texts|$hosts)|$machines|$unfinished" -- . ':!*.svg' && found=1
git log --format='%h %s%n%b' | grep -nP "(?i:$texts|$hosts)|$machines|$unfinished" && found=1
git log --format='%s' | grep -niP "$messages" && found=1
exit "$found"
