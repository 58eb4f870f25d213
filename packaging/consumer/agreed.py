"""Prints whether the terms service is up, and whether the user agreed to a term: agreed.py ID"""
import ctypes
import sys

terms = ctypes.CDLL("libcapi-veranti-service.so.0")
print(terms.IsServiceAvailable(), terms.GetDisclaimerItemAgreement(sys.argv[1].encode()))
