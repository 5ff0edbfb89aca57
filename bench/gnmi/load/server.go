package main

import (
	"bufio"
	"fmt"
	"io"
	"os"
	"os/exec"
	"strconv"
	"strings"
	"syscall"
	"time"
)

// How the kernel counts the time of a process, in /proc.
const tick = 10 * time.Millisecond

// A process that is measured. It takes operations on its standard input.
type server struct {
	command *exec.Cmd
	input   io.WriteCloser
	address string
	port    int // of the operations, the next to be changed
}

func start(command []string, listens bool) (*server, error) {
	s := &server{command: exec.Command(command[0], command[1:]...)}
	var err error
	if s.input, err = s.command.StdinPipe(); err != nil {
		return nil, err
	}
	errors, err := s.command.StderrPipe()
	if err != nil {
		return nil, err
	}
	if err = s.command.Start(); err != nil {
		return nil, err
	}
	lines := bufio.NewScanner(errors)
	for listens && s.address == "" {
		if !lines.Scan() {
			return nil, fmt.Errorf("%s does not listen", command[0])
		}
		fmt.Sscanf(lines.Text(), "gnmi: listening on %s", &s.address)
	}
	go func() {
		for lines.Scan() {
			fmt.Fprintln(os.Stderr, lines.Text())
		}
	}()
	return s, nil
}

func (s *server) stop() {
	s.input.Close()
	s.command.Process.Signal(syscall.SIGTERM)
	s.command.Wait()
}

func (s *server) createPorts(count int) error {
	var lines strings.Builder
	for port := range count {
		fmt.Fprintf(&lines, "{\"op\":\"create\",\"path\":[\"input\",\"portConfig\",\"Ethernet%d\"]}\n", port)
	}
	_, err := io.WriteString(s.input, lines.String())
	return err
}

// Operations that change one leaf each, of the ports in turn.
func (s *server) change(count int) error {
	var lines strings.Builder
	for range count {
		value := 1 + s.port/ports%2
		fmt.Fprintf(&lines,
			"{\"op\":\"set\",\"path\":[\"input\",\"portConfig\",\"Ethernet%d\",\"bpduguard\"],\"value\":%d}\n",
			s.port%ports, value)
		s.port++
	}
	_, err := io.WriteString(s.input, lines.String())
	return err
}

func (s *server) proc(file string) (string, error) {
	text, err := os.ReadFile(fmt.Sprintf("/proc/%d/%s", s.command.Process.Pid, file))
	return string(text), err
}

// The time of all its threads.
func (s *server) cpu() (time.Duration, error) {
	text, err := s.proc("stat")
	if err != nil {
		return 0, err
	}
	fields := strings.Fields(text[strings.LastIndex(text, ")")+1:])
	user, err := strconv.Atoi(fields[11])
	if err != nil {
		return 0, err
	}
	system, err := strconv.Atoi(fields[12])
	return time.Duration(user+system) * tick, err
}

// The time of its first thread, which is the agent's notification thread.
func (s *server) firstThread() (time.Duration, error) {
	text, err := s.proc(fmt.Sprintf("task/%d/schedstat", s.command.Process.Pid))
	if err != nil {
		return 0, err
	}
	nanoseconds, err := strconv.ParseInt(strings.Fields(text)[0], 10, 64)
	return time.Duration(nanoseconds), err
}

// All that is resident, and what of it is no part of a file; in KiB.
func (s *server) memory() (all, anonymous float64, err error) {
	text, err := s.proc("status")
	if err != nil {
		return 0, 0, err
	}
	for name, value := range map[string]*float64{"VmRSS:": &all, "RssAnon:": &anonymous} {
		_, rest, _ := strings.Cut(text, name)
		if _, err := fmt.Sscan(rest, value); err != nil {
			return 0, 0, err
		}
	}
	return all, anonymous, nil
}
