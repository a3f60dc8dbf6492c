"""What is compared of a site: the documents of fictl doctor and of an inspector, without what belongs to the machine."""
import re

# The other checks look at files of the host that no conversation has: rights, trace, temporary folder, catalog, and
# the lines of the configuration.
SITE_CHECKS = ("inspector", "tool", "host", "appliance", "disks", "lun", "provider")


def site_check(check):
    """A line of the doctor, without where programs lie and what the machine's resolver knows."""
    text = re.sub(r"\b(tool \S+:|inspector|provider \"\w+\") \(?/[^\s)]*\)?", r"\1 PATH", check["text"])
    level = check["level"]
    resolver = re.match(r'(this host is "[^"]*"), but ', text)
    if resolver:
        text, level = resolver[1], "OK"
    return {"level": level, "name": check["name"], "text": text}


def doctor(document):
    """A document of fictl doctor, and the exit code that fits what is left of it."""
    checks = [site_check(check) for check in document["doctor"]["checks"] if check["name"] in SITE_CHECKS]
    is_healthy = all(check["level"] != "FAIL" for check in checks)
    return {"doctor": {"checks": checks, "ok": is_healthy}}, 0 if is_healthy else 8


def _run(run):
    """A command as it is compared: without the folder of its program, and of a listing all but its times."""
    command = re.sub(r'^"?/\S*/', "", run["command"]).replace('"', "", 1) if run["appliance"] is None else run["command"]
    return {"appliance": run["appliance"], "command": command, "exit": run["exit"], "signal": run["signal"],
            "output": run["output"]}


def inspection(document):
    """An inspector's document; commands in no order, since they run side by side."""
    kept = {key: document[key] for key in ("provider", "parallel", "disks", "appliances", "ambiguous", "unlistable")}
    kept["host"] = document["host"]["name"]
    kept["configured"] = [entry["name"] for entry in document["configuration"]["appliances"]]
    kept["tools"] = [{key: tool[key] for key in ("name", "exists", "executable", "answers")} for tool in document["tools"]]
    kept["raw"] = sorted((_run(run) for run in document["raw"]), key=lambda run: (run["appliance"] or "", run["command"]))
    return kept
