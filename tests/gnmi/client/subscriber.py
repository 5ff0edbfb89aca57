"""A client as a process of its own, to be stopped or killed: one JSON object a line of what it is
sent, and at last the status with which the call ended.

    subscriber.py [--authority FILE] ADDRESS PATH...

With an authority it speaks TLS, with a target that calls itself localhost.
"""

import argparse
import json

from gnmi_client import PATIENCE, Client, grpc, plain, text_of


def say(**members):
    print(json.dumps(members), flush=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--authority", type=argparse.FileType("rb"))
    parser.add_argument("address")
    parser.add_argument("path", nargs="+")
    asked = parser.parse_args()
    credentials = asked.authority and grpc.ssl_channel_credentials(asked.authority.read())
    options = [("grpc.ssl_target_name_override", "localhost")] if credentials else []
    with Client(asked.address, credentials, options=options) as client, \
            client.subscribe(*asked.path) as stream:
        try:
            # It may be stopped for longer than others are waited for.
            for response in iter(lambda: stream.next(5 * PATIENCE), None):
                if response.sync_response:
                    say(sync=True)
                    continue
                update = response.update
                say(time=update.timestamp, deletes=[text_of(each) for each in update.delete],
                    updates=[[text_of(each.path), plain(each.val), each.duplicates]
                             for each in update.update])
        except grpc.RpcError as error:
            say(code=error.code().name, details=error.details())


if __name__ == "__main__":
    main()
