CREATE DATABASE [Source]
GO
CREATE DATABASE [Target]
GO
USE [Source]
GO
CREATE TABLE [dbo].[Rows] ([id] int NOT NULL CONSTRAINT [PK_Rows] PRIMARY KEY, [n] int NULL)
GO
CREATE VIEW [dbo].[Indexed] WITH SCHEMABINDING AS SELECT [id], [n] FROM [dbo].[Rows]
GO
CREATE UNIQUE CLUSTERED INDEX [IX_Indexed] ON [dbo].[Indexed] ([id])
GO
CREATE TABLE [dbo].[Numbered] ([id] int IDENTITY(1,1) NOT NULL CONSTRAINT [PK_Numbered] PRIMARY KEY, [name] nvarchar(20) NULL)
GO
CREATE TABLE [dbo].[Dodgy] ([id] int NOT NULL CONSTRAINT [PK_Dodgy] PRIMARY KEY, [note] ntext NULL, [twice] AS ([id]*2), [stamp] timestamp NULL, [n] int NULL)
GO
CREATE TABLE [dbo].[Replicated] ([id] int NOT NULL CONSTRAINT [PK_Replicated] PRIMARY KEY, [n] int NULL, [msrepl_tran_version] uniqueidentifier NULL)
GO
CREATE TABLE [dbo].[Stamped] ([id] int NOT NULL, [stamp] timestamp NOT NULL, CONSTRAINT [PK_Stamped] PRIMARY KEY ([id], [stamp]))
GO
CREATE TABLE [dbo].[Gone] ([id] int NOT NULL CONSTRAINT [PK_Gone] PRIMARY KEY, [n] int NULL)
GO
CREATE TABLE [dbo].[Types] ([id] int NOT NULL CONSTRAINT [PK_Types] PRIMARY KEY, [bit] bit NULL, [tinyint] tinyint NULL, [smallint] smallint NULL, [int] int NULL, [bigint] bigint NULL, [real] real NULL, [float] float NULL, [money] money NULL, [smallmoney] smallmoney NULL, [decimal] decimal(12,2) NULL, [numeric] numeric(12,2) NULL, [datetime] datetime NULL, [smalldatetime] smalldatetime NULL, [char] char(5) NULL, [varchar] varchar(5) NULL, [text] text NULL, [nchar] nchar(5) NULL, [nvarchar] nvarchar(5) NULL, [ntext] ntext NULL, [xml] xml NULL, [date] date NULL, [time] time NULL, [datetime2] datetime2 NULL, [datetimeoffset] datetimeoffset NULL, [binary] binary(2) NULL, [varbinary] varbinary(2) NULL, [image] image NULL, [timestamp] timestamp NULL, [uniqueidentifier] uniqueidentifier NULL, [sql_variant] sql_variant NULL)
GO
CREATE TABLE [dbo].[Different] ([a] int NULL)
GO
CREATE TABLE [dbo].[KeyDiffers] ([id] int NOT NULL CONSTRAINT [PK_KeyDiffers] PRIMARY KEY, [n] int NULL)
GO
INSERT INTO [dbo].[Rows] VALUES (1, 1)
INSERT INTO [dbo].[Rows] VALUES (2, 2)
INSERT INTO [dbo].[Rows] VALUES (3, 3)
INSERT INTO [dbo].[Rows] VALUES (4, 4)
INSERT INTO [dbo].[Rows] VALUES (5, 5)
INSERT INTO [dbo].[Rows] VALUES (6, 6)
INSERT INTO [dbo].[Rows] VALUES (7, 7)
INSERT INTO [dbo].[Rows] VALUES (8, 8)
INSERT INTO [dbo].[Rows] VALUES (11, 100)
INSERT INTO [dbo].[Rows] VALUES (12, 100)
INSERT INTO [dbo].[Rows] VALUES (13, 100)
INSERT INTO [dbo].[Rows] VALUES (14, 100)
INSERT INTO [dbo].[Rows] VALUES (15, 100)
INSERT INTO [dbo].[Numbered] ([name]) VALUES (N'one')
INSERT INTO [dbo].[Numbered] ([name]) VALUES (N'two')
INSERT INTO [dbo].[Numbered] ([name]) VALUES (N'three')
INSERT INTO [dbo].[Dodgy] ([id], [note], [n]) VALUES (1, N'long', 1)
INSERT INTO [dbo].[Replicated] VALUES (1, 10, '0E984725-C51C-4BF4-9960-E1C80E27ABA0')
INSERT INTO [dbo].[Replicated] VALUES (2, 20, '0E984725-C51C-4BF4-9960-E1C80E27ABA1')
INSERT INTO [dbo].[Stamped] ([id]) VALUES (1)
INSERT INTO [dbo].[Gone] VALUES (1, 1)
INSERT INTO [dbo].[Types] ([id], [bit], [tinyint], [smallint], [int], [bigint], [real], [float], [money], [smallmoney], [decimal], [numeric], [datetime], [smalldatetime], [char], [varchar], [text], [nchar], [nvarchar], [ntext], [xml], [date], [time], [datetime2], [datetimeoffset], [binary], [varbinary], [image], [uniqueidentifier], [sql_variant]) VALUES (1, 1, 2, 3, 4, 5, 0.5, 0.25, 1.5, 2.5, 3.25, 4.25, '2001-02-03T04:05:06', '2001-02-03T04:05:00', 'c', 'v', 't', N'n', N'w', N'x', '<a/>', '2001-02-03', '04:05:06.1234567', '2001-02-03T04:05:06.1234567', '2001-02-03T04:05:06.1234567+01:00', 0x0102, 0x03, 0x04, '0E984725-C51C-4BF4-9960-E1C80E27ABA0', N'any')
GO
USE [Target]
GO
CREATE TABLE [dbo].[Rows] ([id] int NOT NULL CONSTRAINT [PK_Rows] PRIMARY KEY, [n] int NULL)
GO
CREATE VIEW [dbo].[Indexed] WITH SCHEMABINDING AS SELECT [id], [n] FROM [dbo].[Rows]
GO
CREATE UNIQUE CLUSTERED INDEX [IX_Indexed] ON [dbo].[Indexed] ([id])
GO
CREATE TABLE [dbo].[Numbered] ([id] int IDENTITY(1,1) NOT NULL CONSTRAINT [PK_Numbered] PRIMARY KEY, [name] nvarchar(20) NULL)
GO
CREATE TABLE [dbo].[Dodgy] ([id] int NOT NULL CONSTRAINT [PK_Dodgy] PRIMARY KEY, [note] ntext NULL, [twice] AS ([id]*2), [stamp] timestamp NULL, [n] int NULL)
GO
CREATE TABLE [dbo].[Replicated] ([id] int NOT NULL CONSTRAINT [PK_Replicated] PRIMARY KEY, [n] int NULL, [msrepl_tran_version] uniqueidentifier NULL)
GO
CREATE TABLE [dbo].[Stamped] ([id] int NOT NULL, [stamp] timestamp NOT NULL, CONSTRAINT [PK_Stamped] PRIMARY KEY ([id], [stamp]))
GO
CREATE TABLE [dbo].[Gone] ([id] int NOT NULL CONSTRAINT [PK_Gone] PRIMARY KEY, [n] int NULL)
GO
CREATE TABLE [dbo].[Types] ([id] int NOT NULL CONSTRAINT [PK_Types] PRIMARY KEY, [bit] bit NULL, [tinyint] tinyint NULL, [smallint] smallint NULL, [int] int NULL, [bigint] bigint NULL, [real] real NULL, [float] float NULL, [money] money NULL, [smallmoney] smallmoney NULL, [decimal] decimal(12,2) NULL, [numeric] numeric(12,2) NULL, [datetime] datetime NULL, [smalldatetime] smalldatetime NULL, [char] char(5) NULL, [varchar] varchar(5) NULL, [text] text NULL, [nchar] nchar(5) NULL, [nvarchar] nvarchar(5) NULL, [ntext] ntext NULL, [xml] xml NULL, [date] date NULL, [time] time NULL, [datetime2] datetime2 NULL, [datetimeoffset] datetimeoffset NULL, [binary] binary(2) NULL, [varbinary] varbinary(2) NULL, [image] image NULL, [timestamp] timestamp NULL, [uniqueidentifier] uniqueidentifier NULL, [sql_variant] sql_variant NULL)
GO
CREATE TABLE [dbo].[Different] ([b] int NULL)
GO
CREATE TABLE [dbo].[KeyDiffers] ([n] int NOT NULL CONSTRAINT [PK_KeyDiffers] PRIMARY KEY)
GO
INSERT INTO [dbo].[Rows] VALUES (1, 1)
INSERT INTO [dbo].[Rows] VALUES (2, 2)
INSERT INTO [dbo].[Rows] VALUES (3, 3)
INSERT INTO [dbo].[Rows] VALUES (4, 40)
INSERT INTO [dbo].[Rows] VALUES (5, 50)
INSERT INTO [dbo].[Rows] VALUES (6, 60)
INSERT INTO [dbo].[Rows] VALUES (7, 70)
INSERT INTO [dbo].[Rows] VALUES (8, 80)
INSERT INTO [dbo].[Rows] VALUES (21, 200)
INSERT INTO [dbo].[Rows] VALUES (22, 200)
INSERT INTO [dbo].[Rows] VALUES (23, 200)
INSERT INTO [dbo].[Rows] VALUES (24, 200)
INSERT INTO [dbo].[Numbered] ([name]) VALUES (N'one')
INSERT INTO [dbo].[Numbered] ([name]) VALUES (N'other')
INSERT INTO [dbo].[Dodgy] ([id], [note], [n]) VALUES (1, N'another', 1)
INSERT INTO [dbo].[Replicated] VALUES (1, 11, '0E984725-C51C-4BF4-9960-E1C80E27ABA2')
INSERT INTO [dbo].[Gone] VALUES (2, 2)
GO
