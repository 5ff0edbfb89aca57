package main

import (
	"bytes"
	"crypto/tls"
	"encoding/binary"
	"fmt"
	"io"
	"time"

	pb "github.com/openconfig/gnmi/proto/gnmi"
	"golang.org/x/net/http2"
	"golang.org/x/net/http2/hpack"
	"google.golang.org/protobuf/encoding/protowire"
	"google.golang.org/protobuf/proto"
)

const (
	stream    = 1
	window    = 1 << 30
	frameSize = 1 << 14
)

// A client with one connection and one Subscribe call on it. It reads frames itself: a library would
// take so much of the machine that it, and not the server, would be what is measured.
type subscriber struct {
	connection io.ReadWriteCloser
	framer     *http2.Framer
	message    []byte // what came of the message that is not complete yet
	unread     uint32 // what the server was not told to have been read
	isSynced   bool
	updates    int
}

func request() []byte {
	path := &pb.Path{Elem: []*pb.PathElem{
		{Name: "stp"},
		{Name: "interfaces"},
		{Name: "interface", Key: map[string]string{"name": "*"}},
		{Name: "config"},
		{Name: "bpdu-guard"},
	}}
	body, err := proto.Marshal(&pb.SubscribeRequest{Request: &pb.SubscribeRequest_Subscribe{
		Subscribe: &pb.SubscriptionList{
			Prefix:       &pb.Path{Target: "bridge"},
			Encoding:     pb.Encoding_PROTO,
			Subscription: []*pb.Subscription{{Path: path, Mode: pb.SubscriptionMode_ON_CHANGE}},
		}}})
	if err != nil {
		panic(err) // it is the same message every time
	}
	return append(binary.BigEndian.AppendUint32([]byte{0}, uint32(len(body))), body...)
}

func subscribe(address string, security *tls.Config) (*subscriber, error) {
	connection, err := tls.Dial("tcp", address, security)
	if err != nil {
		return nil, err
	}
	if _, err := io.WriteString(connection, http2.ClientPreface); err != nil {
		return nil, err
	}
	s := &subscriber{connection: connection, framer: http2.NewFramer(connection, connection)}
	s.framer.SetReuseFrames()
	s.framer.ReadMetaHeaders = hpack.NewDecoder(4096, nil)
	var block bytes.Buffer
	headers := hpack.NewEncoder(&block)
	for _, field := range [][2]string{
		{":method", "POST"}, {":scheme", "https"}, {":path", "/gnmi.gNMI/Subscribe"},
		{":authority", "localhost"}, {"content-type", "application/grpc"}, {"te", "trailers"},
	} {
		if err := headers.WriteField(hpack.HeaderField{Name: field[0], Value: field[1]}); err != nil {
			return nil, err
		}
	}
	for _, write := range []func() error{
		func() error {
			return s.framer.WriteSettings(
				http2.Setting{ID: http2.SettingInitialWindowSize, Val: window},
				http2.Setting{ID: http2.SettingMaxFrameSize, Val: frameSize})
		},
		func() error { return s.framer.WriteWindowUpdate(0, window) },
		func() error {
			return s.framer.WriteHeaders(http2.HeadersFrameParam{
				StreamID: stream, BlockFragment: block.Bytes(), EndHeaders: true})
		},
		func() error { return s.framer.WriteData(stream, false, request()) },
	} {
		if err := write(); err != nil {
			return nil, err
		}
	}
	return s, nil
}

// Reads until the connection ends, and says after each frame how many updates have come.
func (s *subscriber) read(progress func(updates int, at time.Time)) error {
	for {
		frame, err := s.framer.ReadFrame()
		if err != nil {
			return err
		}
		switch frame := frame.(type) {
		case *http2.SettingsFrame:
			if !frame.IsAck() {
				err = s.framer.WriteSettingsAck()
			}
		case *http2.PingFrame:
			if !frame.IsAck() {
				err = s.framer.WritePing(true, frame.Data)
			}
		case *http2.DataFrame:
			if err = s.take(frame.Data()); err == nil {
				progress(s.updates, time.Now())
				err = s.acknowledge(frame.Length)
			}
		case *http2.RSTStreamFrame, *http2.GoAwayFrame:
			return fmt.Errorf("the server ended the call: %v", frame)
		case *http2.MetaHeadersFrame:
			if frame.StreamEnded() {
				return fmt.Errorf("the server ended the call: %v", frame.Fields)
			}
		}
		if err != nil {
			return err
		}
	}
}

func (s *subscriber) acknowledge(length uint32) error {
	if s.unread += length; s.unread < window/2 {
		return nil
	}
	read := s.unread
	s.unread = 0
	if err := s.framer.WriteWindowUpdate(0, read); err != nil {
		return err
	}
	return s.framer.WriteWindowUpdate(stream, read)
}

// Takes the messages out of the bytes, which may end within one.
func (s *subscriber) take(data []byte) error {
	if len(s.message) > 0 {
		data = append(s.message, data...)
	}
	for len(data) >= 5 {
		end := 5 + int(binary.BigEndian.Uint32(data[1:5]))
		if len(data) < end {
			break
		}
		if err := s.count(data[5:end]); err != nil {
			return err
		}
		data = data[end:]
	}
	s.message = append(s.message[:0], data...)
	return nil
}

// Calls visit with each field of a message: its bytes, or its number.
func fields(message []byte, visit func(number protowire.Number, value []byte, integer uint64) error) error {
	for len(message) > 0 {
		number, kind, length := protowire.ConsumeTag(message)
		if length < 0 {
			return protowire.ParseError(length)
		}
		message = message[length:]
		var value []byte
		var integer uint64
		switch kind {
		case protowire.BytesType:
			value, length = protowire.ConsumeBytes(message)
		case protowire.VarintType:
			integer, length = protowire.ConsumeVarint(message)
		default:
			length = protowire.ConsumeFieldValue(number, kind, message)
		}
		if length < 0 {
			return protowire.ParseError(length)
		}
		message = message[length:]
		if err := visit(number, value, integer); err != nil {
			return err
		}
	}
	return nil
}

// Counts the updates of a response, with those that were left out for being outdated.
func (s *subscriber) count(response []byte) error {
	return fields(response, func(member protowire.Number, notification []byte, _ uint64) error {
		if member != 1 { // the other is sync_response
			s.isSynced = true
			return nil
		}
		return fields(notification, func(member protowire.Number, update []byte, _ uint64) error {
			if member != 4 {
				return nil
			}
			s.updates++
			return fields(update, func(member protowire.Number, _ []byte, duplicates uint64) error {
				if member == 4 {
					s.updates += int(duplicates)
				}
				return nil
			})
		})
	})
}
