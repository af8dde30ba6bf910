#!/bin/bash
# Usage: files_test.sh PROGRAM
# What files.cpp saves and reads, and in which order the system is asked to.
