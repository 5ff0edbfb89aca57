package main

import (
	"crypto/tls"
	"crypto/x509"
	"fmt"
	"os"
	"slices"
	"sync"
	"sync/atomic"
	"time"
)

const (
	ports    = 256
	batch    = 32              // operations
	patience = 2 * time.Minute // for what takes seconds
	quiet    = 300 * time.Millisecond
)

// What one trial shows.
type result struct {
	throughput float64 // updates a second, of all subscribers together
	cpu        float64 // microseconds of the server an update that a subscriber has
	latency    float64 // microseconds
	resident   float64 // KiB
	anonymous  float64 // KiB
	thread     float64 // microseconds of the notification thread a change
}

// The subscribers of one server, and how far they are.
type audience struct {
	subscribers []*subscriber
	before      []int          // updates of each before its first change
	done        []atomic.Int32 // by batch: who has all of it
	batchIs     chan int       // a batch that all have
	changed     atomic.Int64   // when the last single change was asked for
	latencies   [][]time.Duration
	single      chan int // who has the single change
	isSingle    atomic.Bool
	isCounting  atomic.Bool
	failure     chan error
	last        atomic.Int64 // when anything came
	synced      sync.WaitGroup
}

func trust(certificate string) (*tls.Config, error) {
	text, err := os.ReadFile(certificate)
	if err != nil {
		return nil, err
	}
	roots := x509.NewCertPool()
	if !roots.AppendCertsFromPEM(text) {
		return nil, fmt.Errorf("%s is no certificate", certificate)
	}
	return &tls.Config{RootCAs: roots, ServerName: "localhost", NextProtos: []string{"h2"}}, nil
}

// They have the present state when it returns.
func gather(address string, security *tls.Config, count, batches int) (*audience, error) {
	a := &audience{
		subscribers: make([]*subscriber, count),
		before:      make([]int, count),
		done:        make([]atomic.Int32, batches),
		batchIs:     make(chan int, batches),
		latencies:   make([][]time.Duration, count),
		single:      make(chan int, count),
		failure:     make(chan error, count),
	}
	a.synced.Add(count)
	for at := range a.subscribers {
		s, err := subscribe(address, security)
		if err != nil {
			return nil, err
		}
		a.subscribers[at] = s
		go func() { a.failure <- a.follow(at) }()
	}
	a.synced.Wait()
	for time.Since(time.Unix(0, a.last.Load())) < quiet {
		time.Sleep(quiet / 10)
	}
	return a, nil
}

// Reads what one subscriber is sent.
func (a *audience) follow(at int) error {
	s := a.subscribers[at]
	isSynced, finished := false, 0
	return s.read(func(updates int, now time.Time) {
		if s.isSynced && !isSynced {
			isSynced = true
			a.synced.Done()
		}
		switch {
		case a.isSingle.Load():
			a.latencies[at] = append(a.latencies[at], now.Sub(time.Unix(0, a.changed.Load())))
			a.single <- at
		case a.isCounting.Load():
			for ; finished < len(a.done) && updates-a.before[at] >= (finished+1)*batch; finished++ {
				if int(a.done[finished].Add(1)) == len(a.subscribers) {
					a.batchIs <- finished
				}
			}
		default:
			a.before[at] = updates
			a.last.Store(now.UnixNano())
		}
	})
}

func (a *audience) leave() {
	for _, s := range a.subscribers {
		s.connection.Close()
	}
}

// The next of what subscribers report.
func (a *audience) await(reported chan int, what string) error {
	select {
	case <-reported:
		return nil
	case err := <-a.failure:
		return err
	case <-time.After(patience):
		return fmt.Errorf("%s missing", what)
	}
}

// Changes as fast as the slowest takes them, two batches ahead. Returns how long it took.
func (a *audience) throughput(from *server) (time.Duration, error) {
	a.isCounting.Store(true)
	begin := time.Now()
	for sent, done := 0, 0; done < len(a.done); {
		if sent < len(a.done) && sent < done+2 {
			if err := from.change(batch); err != nil {
				return 0, err
			}
			sent++
			continue
		}
		if err := a.await(a.batchIs, "updates are"); err != nil {
			return 0, err
		}
		done++
	}
	return time.Since(begin), nil
}

// Changes one by one, each when all have the one before. Returns the median.
func (a *audience) latency(from *server, changes int) (time.Duration, error) {
	a.isSingle.Store(true)
	for range changes {
		time.Sleep(2 * time.Millisecond)
		a.changed.Store(time.Now().UnixNano())
		if err := from.change(1); err != nil {
			return 0, err
		}
		for range a.subscribers {
			if err := a.await(a.single, "a change is"); err != nil {
				return 0, err
			}
		}
	}
	all := slices.Concat(a.latencies...)
	slices.Sort(all)
	return all[len(all)/2], nil
}

// A server that has all ports, each with a guard before anybody subscribes.
func prepared(command []string, listens bool) (*server, error) {
	s, err := start(command, listens)
	if err != nil {
		return nil, err
	}
	if err = s.createPorts(ports); err == nil {
		err = s.change(ports)
	}
	if err != nil {
		s.stop()
		return nil, err
	}
	return s, nil
}

// One trial of one server, from its start to its end.
func trial(command []string, security *tls.Config, subscribers, changes, singles int) (result, error) {
	s, err := prepared(command, true)
	if err != nil {
		return result{}, err
	}
	defer s.stop()
	batches := (changes + batch - 1) / batch
	a, err := gather(s.address, security, subscribers, batches)
	if err != nil {
		return result{}, err
	}
	defer a.leave()
	cpuBefore, err := s.cpu()
	if err != nil {
		return result{}, err
	}
	took, err := a.throughput(s)
	if err != nil {
		return result{}, err
	}
	cpuAfter, err := s.cpu()
	if err != nil {
		return result{}, err
	}
	resident, anonymous, err := s.memory()
	if err != nil {
		return result{}, err
	}
	latency, err := a.latency(s, singles)
	if err != nil {
		return result{}, err
	}
	updates := float64(batches * batch * subscribers)
	return result{
		throughput: updates / took.Seconds(),
		cpu:        float64((cpuAfter - cpuBefore).Microseconds()) / updates,
		latency:    float64(latency.Nanoseconds()) / 1000,
		resident:   resident,
		anonymous:  anonymous,
	}, nil
}

// What a change costs the agent's notification thread while others have time for the rest. Nobody
// listens where there are no subscribers.
func paced(command []string, security *tls.Config, subscribers int, listens bool) (result, error) {
	const batches, pause = 150, 10 * time.Millisecond
	s, err := prepared(command, listens)
	if err != nil {
		return result{}, err
	}
	defer s.stop()
	if subscribers > 0 {
		a, err := gather(s.address, security, subscribers, 0)
		if err != nil {
			return result{}, err
		}
		defer a.leave()
	}
	time.Sleep(quiet)
	before, err := s.firstThread()
	if err != nil {
		return result{}, err
	}
	for range batches {
		if err = s.change(batch / 4); err != nil {
			return result{}, err
		}
		time.Sleep(pause)
	}
	time.Sleep(quiet)
	after, err := s.firstThread()
	changes := float64(batches * batch / 4)
	return result{thread: float64((after - before).Nanoseconds()) / 1000 / changes}, err
}
