// The peer of the agent's gNMI target: openconfig/gnmi's cache and subscribe server, fed with the
// operations that the agent takes. usage: peer CERTIFICATE KEY
package main

import (
	"bufio"
	"encoding/json"
	"fmt"
	"log"
	"net"
	"os"
	"time"

	"github.com/openconfig/gnmi/cache"
	pb "github.com/openconfig/gnmi/proto/gnmi"
	"github.com/openconfig/gnmi/subscribe"
	"google.golang.org/grpc"
	"google.golang.org/grpc/credentials"
)

const target = "bridge"

type operation struct {
	Path  []any `json:"path"`
	Value any   `json:"value"`
}

// What the operation changes of the document: the guard of one port.
func changed(line []byte) (*pb.Notification, error) {
	var set operation
	if err := json.Unmarshal(line, &set); err != nil {
		return nil, err
	}
	value, isNumber := set.Value.(float64)
	if len(set.Path) != 4 || !isNumber {
		return nil, nil // a port that is created has no guard yet
	}
	return &pb.Notification{
		Timestamp: time.Now().UnixNano(),
		Prefix:    &pb.Path{Target: target},
		Update: []*pb.Update{{
			Path: &pb.Path{Elem: []*pb.PathElem{
				{Name: "stp"},
				{Name: "interfaces"},
				{Name: "interface", Key: map[string]string{"name": set.Path[2].(string)}},
				{Name: "config"},
				{Name: "bpdu-guard"},
			}},
			Val: &pb.TypedValue{Value: &pb.TypedValue_BoolVal{BoolVal: value == 1}},
		}},
	}, nil
}

func run(certificate, key string) error {
	security, err := credentials.NewServerTLSFromFile(certificate, key)
	if err != nil {
		return err
	}
	state := cache.New([]string{target})
	service, err := subscribe.NewServer(state)
	if err != nil {
		return err
	}
	state.SetClient(service.Update)
	listener, err := net.Listen("tcp", "127.0.0.1:0")
	if err != nil {
		return err
	}
	server := grpc.NewServer(grpc.Creds(security))
	pb.RegisterGNMIServer(server, onlySubscribe{Server: service})
	go func() { log.Fatal(server.Serve(listener)) }()
	fmt.Fprintln(os.Stderr, "gnmi: listening on", listener.Addr())

	lines := bufio.NewScanner(os.Stdin)
	for lines.Scan() {
		notification, err := changed(lines.Bytes())
		if err != nil {
			return err
		}
		if notification == nil {
			continue
		}
		if err := state.GnmiUpdate(notification); err != nil {
			return err
		}
	}
	return lines.Err()
}

// The other calls are not served.
type onlySubscribe struct {
	*subscribe.Server
	pb.UnimplementedGNMIServer
}

func (s onlySubscribe) Subscribe(stream pb.GNMI_SubscribeServer) error {
	return s.Server.Subscribe(stream)
}

func main() {
	if len(os.Args) != 3 {
		log.Fatal("usage: peer CERTIFICATE KEY")
	}
	if err := run(os.Args[1], os.Args[2]); err != nil {
		log.Fatal(err)
	}
}
