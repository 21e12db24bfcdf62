GO
A
go
B
GO 
