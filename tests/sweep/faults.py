"""The faults that a command of an appliance is struck by."""

# Arguments of "lmadm fault arm"
FAULTS = {
    "error": ["error"],
    "slow": ["slow", "--seconds", "0.05"],
    "hang": ["hang"],
    "garble": ["garble"],
    "lost": ["lost"],
    "kill-before": ["kill-before"],
    "kill-after": ["kill-after"],
    "hang-after": ["hang-after"],
} | {f"cut-{bytes}": ["cut", "--at", str(bytes)] for bytes in (0, 3, 7, 40, 200)}
