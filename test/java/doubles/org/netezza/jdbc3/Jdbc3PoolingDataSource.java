package org.netezza.jdbc3;

public final class Jdbc3PoolingDataSource extends doubles.VendorDataSource {}
