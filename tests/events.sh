#!/bin/bash
# Whether every line of --json is as docs/events.schema.json says, in runs that print each kind.
#   events.sh ROOT BUILD
# Exit status 77: there is no python3-jsonschema.
set -euo pipefail
root=$1
# shellcheck source=scripts/tell.sh
. "$root/scripts/tell.sh"
python3 -c 'import jsonschema' 2>/dev/null || {
  echo "skipped: no python3-jsonschema"
  exit 77
}
folder=$(mktemp -d "${TMPDIR:-/tmp}/tessarin-test-XXXXXX")
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/home"
export HOME="$folder/home" LC_ALL=C
unset XDG_CONFIG_HOME XDG_CACHE_HOME XDG_STATE_HOME
cd "$folder"
ffmpeg -nostdin -v error -f lavfi -i "testsrc2=s=320x180:d=2" -f lavfi -i "sine=d=2" fine.mp4
ffmpeg -nostdin -v error -f lavfi -i "testsrc2=s=352x288:d=3" -c:v mpeg2video -b:v 3M whole.ts
head -c 400000 whole.ts >damaged.ts
head -c 2000 /dev/urandom >>damaged.ts
tail -c +500001 whole.ts >>damaged.ts
echo nothing >bad.mts
cp fine.mp4 later.mp4
run() { "$2/bin/tessarin" --json "${@:3}" >>"$1" 2>"$1.errors" || true; }
run lines "$2" analyse fine.mp4 damaged.ts bad.mts
run lines "$2" plan -d out fine.mp4
run lines "$2" -d out --format aic fine.mp4 damaged.ts
run lines "$2" -d out --format aic fine.mp4
run lines "$2" plan -d out --format aic --overwrite keep fine.mp4
run lines "$2" --batch b.batch -d other later.mp4 fine.mp4
rm later.mp4
run lines "$2" --batch b.batch --row 2
run lines "$2" --batch b.batch --report
run lines "$2" --batch b.batch
run lines "$2" --batch b.batch --row 2
run lines "$2" --new -d other later.mp4 fine.mp4
run lines "$2" --recover
python3 - "$root/docs/events.schema.json" lines <<'END'
import json, sys
import jsonschema
schema = json.load(open(sys.argv[1]))
check = jsonschema.Draft202012Validator(schema)
kinds = {kind["properties"]["event"]["const"]: kind for kind in schema["oneOf"]}
seen, wrong = set(), 0
for line in open(sys.argv[2]):
    event = json.loads(line)
    seen.add(event["event"])
    if not check.is_valid(event):
        wrong += 1
        kind = dict(kinds.get(event["event"], schema), **{"$defs": schema["$defs"]})
        for error in jsonschema.Draft202012Validator(kind).iter_errors(event):
            print(line.strip()[:300], "\n ", error.message[:300], file=sys.stderr)
# Those need a signal.
missing = set(kinds) - seen - {"stopped"}
if missing:
    print("no run printed:", ", ".join(sorted(missing)), file=sys.stderr)
sys.exit(1 if wrong or missing else 0)
END
