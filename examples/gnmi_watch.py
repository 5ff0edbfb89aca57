#!/usr/bin/python3
"""Prints each leaf that a gNMI target has, and then each change of one, as it happens.

What Debian has is enough:
apt install libprotobuf-dev protobuf-compiler python3-grpcio python3-protobuf
"""

import argparse
import datetime
import pathlib
import subprocess
import sys
import tempfile

import grpc

PROTOCOL = pathlib.Path(__file__).resolve().parent.parent / "agent/proto"
FOLDER = "github.com/openconfig/gnmi/proto"


def message_classes():
    """The classes of the protocol's messages, made of its description."""
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["protoc", f"--proto_path={PROTOCOL}", f"--python_out={folder}",
                        f"{FOLDER}/gnmi/gnmi.proto", f"{FOLDER}/gnmi_ext/gnmi_ext.proto"],
                       check=True)
        sys.path.insert(0, folder)
        sys.dont_write_bytecode = True
        from github.com.openconfig.gnmi.proto.gnmi import gnmi_pb2
    return gnmi_pb2


def text_of(path):
    return "".join("/" + element.name + "".join(f"[{key}={value}]"
                                                for key, value in element.key.items())
                   for element in path.elem)


def value_of(typed):
    kind = typed.WhichOneof("value")
    if kind == "leaflist_val":
        return [value_of(element) for element in typed.leaflist_val.element]
    return getattr(typed, kind)


def main():
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument("address", help="HOST:PORT or unix:PATH")
    arguments.add_argument("--ca", metavar="FILE", help="the authority, in PEM, for TLS")
    arguments.add_argument("--user", metavar="NAME:PASSWORD", default="")
    arguments.add_argument("--path", default="/", help="below which, such as /stp/global")
    arguments = arguments.parse_args()

    gnmi = message_classes()
    if arguments.ca:
        authority = pathlib.Path(arguments.ca).read_bytes()
        channel = grpc.secure_channel(arguments.address, grpc.ssl_channel_credentials(authority))
    else:
        channel = grpc.insecure_channel(arguments.address)
    name, _, password = arguments.user.partition(":")
    metadata = (("username", name), ("password", password)) if name else ()

    # Names alone: an element [KEY=VALUE] would go into the element's key.
    below = gnmi.Path(elem=[gnmi.PathElem(name=name)
                            for name in arguments.path.split("/") if name])
    request = gnmi.SubscribeRequest(subscribe=gnmi.SubscriptionList(
        mode=gnmi.SubscriptionList.STREAM, encoding=gnmi.PROTO,
        subscription=[gnmi.Subscription(path=below, mode=gnmi.ON_CHANGE)]))
    subscribe = channel.stream_stream(
        "/gnmi.gNMI/Subscribe", request_serializer=gnmi.SubscribeRequest.SerializeToString,
        response_deserializer=gnmi.SubscribeResponse.FromString)
    for response in subscribe(iter([request]), metadata=metadata):
        if response.sync_response:
            print("That is what there is; from now on, what changes.", flush=True)
        time = datetime.datetime.fromtimestamp(response.update.timestamp / 1e9)
        for path in response.update.delete:
            print(f"{time:%H:%M:%S.%f} {text_of(path)} is gone", flush=True)
        for update in response.update.update:
            print(f"{time:%H:%M:%S.%f} {text_of(update.path)} = {value_of(update.val)}",
                  flush=True)


if __name__ == "__main__":
    try:
        main()
    except KeyboardInterrupt:
        pass
    except grpc.RpcError as error:
        sys.exit(f"{error.code().name}: {error.details()}")
