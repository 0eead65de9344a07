# Replays a recording: the same inputs in their order, clients that answer as recorded.
mkdir "$ROOT/run/replay"
cp /run/lab/replayer/*.py /run/lab/replay.jsonl "$ROOT/run/replay/"
DAEMON_RUNS=
rt env PYTHONDONTWRITEBYTECODE=1 "PATIENCE=$PATIENCE" python3 /run/replay/play.py /run/replay/replay.jsonl "$speed"
cp "$ROOT/run/recording.jsonl" /run/lab/
