module stpopenconfig/bench/gnmi

go 1.26

require (
	github.com/openconfig/gnmi v0.14.1
	google.golang.org/grpc v1.69.2
)

require (
	bitbucket.org/creachadair/stringset v0.0.14 // indirect
	github.com/golang/glog v1.2.4 // indirect
	golang.org/x/net v0.34.0 // indirect
	golang.org/x/sys v0.29.0 // indirect
	golang.org/x/text v0.21.0 // indirect
	google.golang.org/genproto/googleapis/rpc v0.0.0-20250106144421-5f5ef82da422 // indirect
	google.golang.org/protobuf v1.36.2 // indirect
)
