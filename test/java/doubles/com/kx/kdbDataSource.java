package com.kx;

public final class kdbDataSource extends doubles.VendorDataSource {}
