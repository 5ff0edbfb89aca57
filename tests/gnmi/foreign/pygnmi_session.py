"""Has pygnmi do what lines of JSON say, and prints a JSON document for each answer.

Runs where pygnmi is installed: python pygnmi_session.py HOST:PORT [MEMBERS-OF-THE-CLIENT]
"""

import json
import sys

# pygnmi writes its log where the answers go.
answers, sys.stdout = sys.stdout, sys.stderr

import grpc  # noqa: E402
from pygnmi.client import gNMIclient, gNMIException, telemetryParser  # noqa: E402


def show(**members):
    print(json.dumps(members), file=answers, flush=True)


def main():
    host, port = sys.argv[1].rsplit(":", 1)
    members = json.loads(sys.argv[2]) if len(sys.argv) > 2 else {"insecure": True}
    try:
        client = gNMIclient(target=(host, int(port)), **members)
        client.connect(timeout=5)
    except Exception as error:  # what exactly it is, is pygnmi's choice
        show(failed=str(error) or type(error).__name__)
        return
    show(connected=True)
    for line in sys.stdin:
        asked = json.loads(line)
        for kind in {"replace", "update"} & set(asked["members"]):
            asked["members"][kind] = [tuple(each) for each in asked["members"][kind]]
        try:
            answer = getattr(client, asked["call"])(**asked["members"])
            if asked["call"] == "subscribe":
                for response in answer:
                    show(response=telemetryParser(response))
                show(ended=True)
            else:
                show(answer=answer)
        except gNMIException as error:
            show(refused=error.orig_exc.code().name, text=error.orig_exc.details())
        except grpc.RpcError as error:
            show(refused=error.code().name, text=error.details())


main()
