#!/bin/bash
# Whether the engines that hand out the rows of a batch convert each of them once, also when a
# process is killed in the middle: the real ones, with the scripts that are installed for them.
#   manyMachines.sh parallel|slurm ROOT BUILD
# Exit status 77: the engine is not there, or cannot be started here.
set -euo pipefail
engine=$1
root=$2
# shellcheck source=scripts/tell.sh
. "$root/scripts/tell.sh"
skip() {
  echo "skipped: $1"
  exit 77
}
case $engine in
  parallel) needed=(parallel) ;;
  slurm) needed=(munged slurmctld slurmd sbatch scontrol) ;;
  *) fail "parallel or slurm" ;;
esac
for program in "${needed[@]}"; do
  PATH=$PATH:/usr/sbin command -v "$program" >/dev/null || skip "no $program"
done

folder=$(mktemp -d "${TMPDIR:-/tmp}/tessarin-test-XXXXXX")
started=()
end() {
  for process in "${started[@]}"; do kill "$process" 2>/dev/null || true; done
  for process in "${started[@]}"; do wait "$process" 2>/dev/null || true; done
  rm -rf "$folder"
}
trap end EXIT
mkdir "$folder/home" "$folder/bin" "$folder/card"
export HOME="$folder/home" LC_ALL=C
unset XDG_CONFIG_HOME XDG_CACHE_HOME XDG_STATE_HOME

# Whoever is told to work on row 2 for the first time is killed while it does.
cat >"$folder/bin/tessarin" <<EOF
#!/bin/bash
if [ "\${4-}" = 2 ] && mkdir "$folder/killed" 2>/dev/null; then
  "$3/bin/tessarin" "\$@" & process=\$!
  until [ -n "\$(find "$folder/out/Tessarin" -name ".tessarin-\$process-*" 2>/dev/null)" ]; do
    kill -0 \$process 2>/dev/null || break
    sleep 0.02
  done
  kill -9 \$process
  wait \$process
  exit 137
fi
exec "$3/bin/tessarin" "\$@"
EOF
chmod +x "$folder/bin/tessarin"
PATH=$folder/bin:$root/packaging/batch:$PATH:/usr/sbin

for number in 1 2 3 4 5 6; do
  mkdir "$folder/card/$number"
  ffmpeg -nostdin -v error -f lavfi -i "testsrc2=s=320x180:d=1" -f lavfi -i "sine=d=1" \
    "$folder/card/$number/it's one.mp4"
done
batch="$folder/the 'big' tape.batch"
tessarin --batch "$batch" -d "$folder/out" --format aic "$folder/card" >/dev/null

startSlurm() { # as one node, with a network and a secret of its own
  local port=$((20000 + RANDOM % 20000)) name user
  name=$(hostname -s)
  user=$(id -un)
  head -c 1024 /dev/urandom >"$folder/key"
  chmod 600 "$folder/key"
  chmod 755 "$folder"
  mkdir "$folder/state" "$folder/spool"
  munged --foreground --force --key-file="$folder/key" --socket="$folder/munge" \
    --log-file="$folder/munge.log" --pid-file="$folder/munge.pid" --seed-file="$folder/seed" \
    >"$folder/munged.out" 2>&1 &
  started+=($!)
  cat >"$folder/slurm.conf" <<EOF
ClusterName=test
SlurmctldHost=$name(127.0.0.1)
SlurmUser=$user
SlurmdUser=$user
AuthType=auth/munge
AuthInfo=socket=$folder/munge
CredType=cred/munge
SlurmctldPort=$port
SlurmdPort=$((port + 1))
StateSaveLocation=$folder/state
SlurmdSpoolDir=$folder/spool
SlurmctldPidFile=$folder/slurmctld.pid
SlurmdPidFile=$folder/slurmd.pid
SlurmctldLogFile=$folder/slurmctld.log
SlurmdLogFile=$folder/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SchedulerParameters=sched_interval=1
MaxArraySize=5
MpiDefault=none
JobAcctGatherType=jobacct_gather/none
ReturnToService=2
NodeName=$name NodeAddr=127.0.0.1 CPUs=$(nproc) State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES MaxTime=INFINITE State=UP OverSubscribe=FORCE:4
EOF
  export SLURM_CONF=$folder/slurm.conf
  slurmctld -D >"$folder/slurmctld.out" 2>&1 &
  started+=($!)
  slurmd -D >"$folder/slurmd.out" 2>&1 &
  started+=($!)
  for _ in $(seq 100); do
    sinfo -h -o %t 2>/dev/null | grep -qE '^(idle|mix)' && return
    sleep 0.2
  done
  tail -n 3 "$folder"/slurm*.log "$folder"/*.out >&2 || true
  skip "Slurm does not start here"
}

if [ "$engine" = parallel ]; then
  run=(tessarin-parallel "$batch" --jobs 2)
else
  startSlurm
  run=(tessarin-slurm "$batch" --oversubscribe)
fi
"${run[@]}" >"$folder/first" 2>"$folder/errors" || true
# A process that was killed has failed as a job; its row is open still, and the next call takes it.
"${run[@]}" >"$folder/report" 2>>"$folder/errors" || {
  cat "$folder/errors" "$folder/report"
  fail "not all rows are converted"
}
[ -d "$folder/killed" ] || fail "no process was killed"
tail -n 1 "$folder/report" | grep -q ': 6; 6 converted$' || fail "the report: $(cat "$folder/report")"
movies=("$folder/out/Tessarin"/*.mov)
[ ${#movies[@]} = 6 ] || fail "${#movies[@]} movies for 6 clips: ${movies[*]}"
for movie in "${movies[@]}"; do
  pictures=$(ffprobe -v error -select_streams v -show_entries stream=nb_frames -of csv=p=0 "$movie")
  [ "$pictures" = 25 ] || fail "$movie has $pictures pictures"
done
left=$(find "$folder/out/Tessarin" -mindepth 1 -name '.*')
[ -z "$left" ] || fail "something is left over: $left"
