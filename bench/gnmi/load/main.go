// Measures the agent's gNMI target and its peer with the same subscribers, in turns, and prints how
// they compare. usage: load [-rounds N] AGENT PEER CERTIFICATE KEY
package main

import (
	"crypto/tls"
	"flag"
	"fmt"
	"log"
	"os"
	"slices"
	"strings"
)

// How much is done for each number of subscribers.
type size struct{ subscribers, changes, singles int }

var sizes = []size{{1, 60_000, 300}, {10, 20_000, 200}, {100, 4_000, 100}, {1000, 480, 30}}

var sides = []string{"ours", "peer"}

// A figure of the table, and what it should be beside the peer's.
type figure struct {
	name        string
	subscribers int
	value       func(result) float64
	goal        string
	isReached   func(ratio float64) bool
}

func atLeast(least float64) func(float64) bool { return func(r float64) bool { return r >= least } }
func atMost(most float64) func(float64) bool   { return func(r float64) bool { return r <= most } }

func throughput(r result) float64 { return r.throughput / 1000 }
func cpu(r result) float64        { return r.cpu }
func latency(r result) float64    { return r.latency }
func resident(r result) float64   { return r.resident / 1024 }
func anonymous(r result) float64  { return r.anonymous / 1024 }

var figures = []figure{
	{"throughput to 1 subscriber, 1,000 updates/s", 1, throughput, ">= 1.5", atLeast(1.5)},
	{"to 10, of all together", 10, throughput, "", nil},
	{"to 100", 100, throughput, ">= 1.3", atLeast(1.3)},
	{"to 1,000", 1000, throughput, "", nil},
	{"server CPU an update at 1 subscriber, us", 1, cpu, "", nil},
	{"at 100", 100, cpu, "<= 0.7", atMost(0.7)},
	{"at 1,000", 1000, cpu, "", nil},
	{"median latency of one change, 1 subscriber, us", 1, latency, "<= 0.8", atMost(0.8)},
	{"10 subscribers", 10, latency, "", nil},
	{"100", 100, latency, "", nil},
	{"1,000", 1000, latency, "", nil},
	{"resident memory at 100 subscribers, MiB", 100, resident, "<= 0.6", atMost(0.6)},
	{"without mapped files", 100, anonymous, "", nil},
	{"at 1,000", 1000, resident, "", nil},
}

func median(values []float64) float64 {
	slices.Sort(values)
	return values[len(values)/2]
}

// The results by side and number of subscribers.
type results map[string]map[int][]result

func (r results) median(side string, subscribers int, value func(result) float64) float64 {
	var values []float64
	for _, each := range r[side][subscribers] {
		values = append(values, value(each))
	}
	return median(values)
}

func measure(commands map[string][]string, security *tls.Config, rounds int) (results, error) {
	all := results{}
	for _, side := range sides {
		all[side] = map[int][]result{}
	}
	for round := range rounds {
		for _, size := range sizes {
			for turn := range sides {
				side := sides[(turn+round)%len(sides)]
				result, err := trial(commands[side], security, size.subscribers, size.changes, size.singles)
				if err != nil {
					return nil, fmt.Errorf("%s, %d subscribers: %w", side, size.subscribers, err)
				}
				all[side][size.subscribers] = append(all[side][size.subscribers], result)
			}
		}
		fmt.Fprintf(os.Stderr, "round %d of %d\n", round+1, rounds)
	}
	return all, nil
}

func printTable(all results) {
	fmt.Println("| | this target | openconfig/gnmi | ratio | goal | |")
	fmt.Println("|---|---|---|---|---|---|")
	for _, f := range figures {
		ours := all.median("ours", f.subscribers, f.value)
		peer := all.median("peer", f.subscribers, f.value)
		verdict := ""
		if f.isReached != nil {
			verdict = map[bool]string{true: "reached", false: "missed"}[f.isReached(ours/peer)]
		}
		fmt.Printf("| %s | %.1f | %.1f | %.2f | %s | %s |\n", f.name, ours, peer, ours/peer, f.goal,
			verdict)
	}
}

// A line a point, to be drawn.
func printPoints(all results) {
	for _, size := range sizes {
		for _, side := range sides {
			fmt.Printf("throughput/%s/%d %.0f\nlatency/%s/%d %.1f\n",
				side, size.subscribers, all.median(side, size.subscribers, throughput)*1000,
				side, size.subscribers, all.median(side, size.subscribers, latency))
		}
	}
}

func printThread(agent []string, gnmi []string, security *tls.Config, rounds int) error {
	fmt.Println("\n| the notification thread, a change | us |\n|---|---|")
	for _, kind := range []struct {
		name        string
		subscribers int
		listens     bool
	}{{"without --gnmi", 0, false}, {"nobody subscribed", 0, true}, {"1 subscriber", 1, true},
		{"100 subscribers", 100, true}, {"1,000", 1000, true}} {
		command := agent
		if kind.listens {
			command = slices.Concat(agent, gnmi)
		}
		var costs []float64
		for range rounds {
			result, err := paced(command, security, kind.subscribers, kind.listens)
			if err != nil {
				return err
			}
			costs = append(costs, result.thread)
		}
		fmt.Printf("| %s | %.1f |\n", kind.name, median(costs))
	}
	return nil
}

func run(rounds int, agent, peer, certificate, key string) error {
	security, err := trust(certificate)
	if err != nil {
		return err
	}
	command := []string{agent, "run", "--show", "none"}
	gnmi := []string{"--gnmi", "127.0.0.1:0", "--gnmi-cert", certificate, "--gnmi-key", key}
	all, err := measure(map[string][]string{
		"ours": slices.Concat(command, gnmi), "peer": {peer, certificate, key},
	}, security, rounds)
	if err != nil {
		return err
	}
	printTable(all)
	if err := printThread(command, gnmi, security, rounds); err != nil {
		return err
	}
	fmt.Println()
	printPoints(all)
	return nil
}

func main() {
	log.SetFlags(0)
	rounds := flag.Int("rounds", 5, "how often each is measured; medians are printed")
	flag.Usage = func() {
		fmt.Fprintln(os.Stderr, strings.TrimSpace("usage: load [-rounds N] AGENT PEER CERTIFICATE KEY"))
		os.Exit(2)
	}
	flag.Parse()
	if flag.NArg() != 4 {
		flag.Usage()
	}
	if err := run(*rounds, flag.Arg(0), flag.Arg(1), flag.Arg(2), flag.Arg(3)); err != nil {
		log.Fatal("load: ", err)
	}
}
