# Writes the gorilla nest sites of R's package spatstat.data as plain text: nests.csv with a row a nest, sanctuary.csv with the
# sanctuary's boundary as one WKT polygon. Coordinates are metres, UTM zone 32 north.
# Usage: Rscript gorilla-nests.R PACKAGE_DATA_FOLDER OUTPUT_FOLDER
folders <- commandArgs(trailingOnly = TRUE)
package <- new.env()
invisible(lazyLoad(file.path(folders[1], "Rdata"), envir = package))
sites <- unclass(package$gorillas)  # a plain list: the package's own classes are not loaded

nests <- data.frame(X = sites$x, Y = sites$y, GROUP = sites$marks$group,
                    GROUP_ID = match(sites$marks$group, c("major", "minor")),
                    SEASON = sites$marks$season, DATE = format(sites$marks$date))
nests <- nests[order(nests$GROUP_ID, nests$DATE), ]
write.csv(nests, file.path(folders[2], "nests.csv"), row.names = FALSE, quote = FALSE)

ring <- sites$window$bdry[[1]]
corners <- paste(c(ring$x, ring$x[1]), c(ring$y, ring$y[1]), collapse = ", ")
writeLines(c("ID,WKT", sprintf("1,\"POLYGON((%s))\"", corners)), file.path(folders[2], "sanctuary.csv"))
